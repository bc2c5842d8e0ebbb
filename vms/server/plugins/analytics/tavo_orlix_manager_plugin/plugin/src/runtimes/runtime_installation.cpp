// How a runtime's package comes onto the disk.

#include <system_error>

#include "base/ini.h"
#include "remote/file_downloader.h"
#include "remote/file_helpers.h"
#include "remote/text_helpers.h"
#include "runtimes/chip_catalogue.h"
#include "runtimes/placeholders.h"
#include "runtimes/runtimes_manager.h"
#include "runtimes/staging.h"
#include "runtimes/tool_output.h"
#include "utils/command.h"
#include "utils/folders.h"
#include "utils/log.h"
#include "utils/paths.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kStagingFolder[] = "runtime.unpacking"; // in the bin folder
constexpr char kUnpackCommand[] = "tar -xf \"{file_path}\" -C \"{folder_path}\" --no-same-owner";

void postDocumentation(const std::string& runtimeName, MessageBoard& board)
{
    const auto link = documentationLinks().find(runtimeName);
    if (link == documentationLinks().end() || link->second.empty())
        return;
    board.postMessage(
        board_key::kRuntimeDocumentation + runtimeName,
        "To learn how to set up the machine and make use of the " + runtimeName +
            " hardware for running AI models, please consult the following documentation: " +
            link->second,
        MessageType::message);
}

} // namespace

void RuntimesManager::install(
    const std::string& runtimeName, MessageBoard& messageBoard, bool useSubfolder)
{
    messageBoard.removeMessage(board_key::kRuntimeExtractionFailed);
    if (status() == RuntimeStatus::installed)
    {
        log_info("Info: runtime is already installed.");
        return;
    }
    postDocumentation(runtimeName, messageBoard);
    setStatus(RuntimeStatus::installing);

    Outcome outcome;
    try
    {
        const std::string folder =
            useSubfolder ? path_join(m_binDirectory, runtimeName) : m_binDirectory;
        const std::string packagePath = fileInBin(runtimeName + ".tar.gz");
        m_installedNameStays = fileExists(fileInBin(kRuntimeLibrary));
        std::string text = "Failed to download the runtime package.";
        outcome = fetchPackage(runtimeName, packagePath, messageBoard);
        if (outcome)
        {
            text =
                "Failed to extract the runtime package. Please ensure you have a stable Internet connection and enough free space on your disk.";
            outcome = unpackPackage(runtimeName, packagePath, folder, useSubfolder, messageBoard);
            m_installedNameStays = !outcome;
        }
        if (!outcome && !m_stop.stop_requested())
        {
            log_info("ERROR: %s %s\n", text.c_str(), outcome.why().c_str());
            messageBoard.postMessage(
                board_key::kRuntimeExtractionFailed, text + " " + outcome.why(),
                MessageType::warning);
        }
    }
    catch (...)
    {
        // Where several runtimes are offered, nothing leads out of the state between.
        setStatus(RuntimeStatus::installFailed);
        throw;
    }
    setStatus(outcome ? RuntimeStatus::installed : RuntimeStatus::installFailed);
}

Outcome RuntimesManager::fetchPackage(
    const std::string& runtimeName, const std::string& packagePath, MessageBoard& board)
{
    // The name comes from a dialog and is a part of the path: none but an offered one has a
    // package.
    const auto chip = m_runtimeToChip.find(runtimeName);
    if (chip != m_runtimeToChip.end() && ini().cacheRuntimeArchives && fileExists(packagePath))
    {
        log_info("Info: Runtime package file already exists. Skipping download step.\n");
        return {};
    }
    log_info("Info: Downloading runtime package for %s...\n", oneLine(runtimeName).c_str());
    const std::string link =
        chip == m_runtimeToChip.end() ? std::string() : chip->second->getDownloadLink(runtimeName);
    if (link.empty())
    {
        log_info("ERROR: couldn't find a download link for the desired runtime.");
        return Outcome::failed("There is no link for this runtime.");
    }
    return downloadFile(
        link, packagePath, board, board_key::kRuntimePackage, "Downloading runtime package", {},
        m_stop);
}

Outcome RuntimesManager::makeSubfolder(const std::string& folder) const
{
    std::string command = kMakeFolderCommand;
    replaceAll(command, "{folder_path}", folder);
    if (runCommand(command, kCommandLimit, m_stop).exitCode == 0)
        return {};
    log_info("ERROR: Failed to create a folder for the runtime.");
    return Outcome::failed("The folder " + folder + " could not be made.");
}

Outcome RuntimesManager::unpackPackage(
    const std::string& runtimeName, const std::string& packagePath, const std::string& folder,
    bool useSubfolder, MessageBoard& board)
{
    const Staging staging(fileInBin(kStagingFolder));
    if (Outcome made = staging.made(); !made)
        return made;
    board.postMessage(
        board_key::kRuntimeExtraction, "Extracting runtime from package", MessageType::message);
    std::string command = kUnpackCommand;
    replaceAll(command, "{file_path}", packagePath);
    replaceAll(command, "{folder_path}", staging.content());
    const CommandResult result = runCommand(command, kUnpackLimit, m_stop);
    board.removeMessage(board_key::kRuntimeExtraction);

    Outcome outcome = staging.unpacked(result);
    if (!outcome)
        log_info("tar: %s\n", beginningOf(result.output).c_str());
    else if (!fileExists(path_join(staging.content(), kRuntimeLibrary)))
        outcome =
            Outcome::failed(std::string("The package does not contain ") + kRuntimeLibrary + ".");
    if (!outcome)
    {
        if (!m_stop.stop_requested()) // the package may be a good one
            deleteFile(packagePath); // it would be taken for a good one the next time
        return outcome;
    }
    if (useSubfolder)
        outcome = makeSubfolder(folder);
    if (outcome)
        outcome = staging.moveInto(folder, kRuntimeLibrary);
    if (!outcome)
        return outcome;
    log_info("Info: Runtime %s downloaded successfully.\n", runtimeName.c_str());
    if (ini().cacheRuntimeArchives)
        log_info("Info: Caching the runtime package file as per configuration.\n");
    else if (deleteFile(packagePath))
        log_info("Info: Deleted the tar file successfully.\n");
    else // the text is the unpacking's output, as operators know it
        log_info("ERROR: Failed to delete the tar file: %s\n", beginningOf(result.output).c_str());
    return {};
}

bool RuntimesManager::removeFile(const std::string& path) const
{
    std::error_code error;
    remove_entry(path, error);
    log_debug("Removed: %s with error: %d\n", path.c_str(), error.value());
    return !error;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
