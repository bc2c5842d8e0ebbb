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

    bool done = false;
    try
    {
        const std::string folder =
            useSubfolder ? path_join(m_binDirectory, runtimeName) : m_binDirectory;
        const std::string packagePath = fileInBin(runtimeName + ".tar.gz");
        m_installedNameStays = fileExists(fileInBin(kRuntimeLibrary));
        if (fetchPackage(runtimeName, packagePath, messageBoard))
        {
            done = unpackPackage(runtimeName, packagePath, folder, useSubfolder, messageBoard);
            m_installedNameStays = !done;
        }
    }
    catch (...)
    {
        // Where several runtimes are offered, nothing leads out of the state between.
        setStatus(RuntimeStatus::installFailed);
        throw;
    }
    setStatus(done ? RuntimeStatus::installed : RuntimeStatus::installFailed);
}

bool RuntimesManager::fetchPackage(
    const std::string& runtimeName, const std::string& packagePath, MessageBoard& board)
{
    // The name comes from a dialog and is a part of the path: none but an offered one has a
    // package.
    const auto chip = m_runtimeToChip.find(runtimeName);
    if (chip != m_runtimeToChip.end() && ini().cacheRuntimeArchives && fileExists(packagePath))
    {
        log_info("Info: Runtime package file already exists. Skipping download step.\n");
        return true;
    }
    log_info("Info: Downloading runtime package for %s...\n", oneLine(runtimeName).c_str());
    const std::string link =
        chip == m_runtimeToChip.end() ? std::string() : chip->second->getDownloadLink(runtimeName);
    if (link.empty())
    {
        log_info("ERROR: couldn't find a download link for the desired runtime.");
        return false;
    }
    if (!downloadFile(
            link, packagePath, board, board_key::kRuntimePackage, "Downloading runtime package", {},
            m_stop))
    {
        log_info("ERROR: Failed to download the runtime package.\n");
        return false;
    }
    return true;
}

bool RuntimesManager::makeSubfolder(const std::string& folder) const
{
    std::string command = kMakeFolderCommand;
    replaceAll(command, "{folder_path}", folder);
    if (runCommand(command, kCommandLimit, m_stop).exitCode == 0)
        return true;
    log_info("ERROR: Failed to create a folder for the runtime.");
    return false;
}

bool RuntimesManager::unpackPackage(
    const std::string& runtimeName, const std::string& packagePath, const std::string& folder,
    bool useSubfolder, MessageBoard& board)
{
    board.postMessage(
        board_key::kRuntimeExtraction, "Extracting runtime from package", MessageType::message);
    const Staging staging(fileInBin(kStagingFolder));
    std::string command = kUnpackCommand;
    replaceAll(command, "{file_path}", packagePath);
    replaceAll(command, "{folder_path}", staging.content());
    const CommandResult result = runCommand(command, kUnpackLimit, m_stop);
    board.removeMessage(board_key::kRuntimeExtraction);

    if (m_stop.stop_requested())
        return false; // the package may be a good one
    if (result.exitCode != 0 || !fileExists(path_join(staging.content(), kRuntimeLibrary)))
    {
        log_info("ERROR: Failed to extract the runtime package.\n");
        if (result.exitCode == 0)
            log_info("The package does not contain %s.\n", kRuntimeLibrary);
        else
            log_info("tar: %s\n", beginningOf(result.output).c_str());
        board.postMessage(
            board_key::kRuntimeExtractionFailed,
            "Failed to extract the runtime package. Please ensure you have a stable Internet connection and enough free space on your disk.",
            MessageType::warning);
        deleteFile(packagePath); // it would be taken for a good one the next time
        return false;
    }
    if (useSubfolder && !makeSubfolder(folder))
        return false;
    if (!staging.moveInto(folder, kRuntimeLibrary))
    {
        log_info("ERROR: Failed to move the runtime into place.\n");
        return false;
    }
    log_info("Info: Runtime %s downloaded successfully.\n", runtimeName.c_str());
    if (ini().cacheRuntimeArchives)
        log_info("Info: Caching the runtime package file as per configuration.\n");
    else if (deleteFile(packagePath))
        log_info("Info: Deleted the tar file successfully.\n");
    else // the text is the unpacking's output, as operators know it
        log_info("ERROR: Failed to delete the tar file: %s\n", beginningOf(result.output).c_str());
    return true;
}

bool RuntimesManager::removeFile(const std::string& path) const
{
    std::error_code error;
    remove_entry(path, error);
    log_debug("Removed: %s with error: %d\n", path.c_str(), error.value());
    return !error;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
