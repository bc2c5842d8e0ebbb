#include "runtimes/manager_installation.h"

#include <filesystem>
#include <utility>

#include "base/deployment.h"
#include "base/ini.h"
#include "base/manager_files.h"
#include "remote/file_downloader.h"
#include "remote/file_helpers.h"
#include "runtimes/machine_info.h"
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

constexpr char kReleaseFolder[] = "v4-6";

// What a removal deletes. Where file names have a case, the last two are two names.
constexpr const char* kInstallationEntries[] = {"bin", "etc", "cache", "version", "VERSION"};

} // namespace

ManagerInstallation::ManagerInstallation(
    const std::string& workingDirectory, std::stop_token stop) :
    m_stop(std::move(stop))
{
    // Without its paths this check finds nothing: the first one that counts is the loop's, so a
    // state of installed is never reached before the loop runs.
    checkInstallation();
    m_workingDirectory = workingDirectory;
    m_installationDirectory = workingDirectory + manager_files::kRootFolder;
    log_info("Orlix Manager installation dir is: %s\n", workingDirectory.c_str());
}

ManagerInstallState ManagerInstallation::checkInstallation()
{
    const ManagerInstallState state = m_state.load();
    if ((state == ManagerInstallState::notInstalled || state == ManagerInstallState::failed) &&
        fileExists(path_join(m_installationDirectory, "bin", kManagerExecutable)) &&
        fileExists(path_join(m_installationDirectory, "bin", kEngineExecutable)))
    {
        m_state.store(ManagerInstallState::installed);
    }
    return m_state.load();
}

std::string managerArchiveUrl()
{
    const std::string archive = std::string("/orlix_manager-") +
        architectureText(readNativeArchitecture()) + "-" + kArchiveTag + ".tgz";
    const std::string configured = ini().OrlixManagerStorageURL;
    if (!configured.empty())
        return configured + archive;
    return std::string(kDefaultStorageBase) + "/ORLIXManager/" + kReleaseFolder + archive;
}

void ManagerInstallation::install(MessageBoard& messageBoard)
{
    messageBoard.removeMessage(board_key::kManagerInstallFailed);
    const std::string archivePath = pathOfTemporary("orlix_manager.tgz");
    bool done = false;
    try
    {
        const Outcome outcome = bring(archivePath, messageBoard);
        done = static_cast<bool>(outcome);
        if (!done && !m_stop.stop_requested())
        {
            messageBoard.postMessage(
                board_key::kManagerInstallFailed,
                "Failed to install the Orlix Manager. " + outcome.why(), MessageType::warning);
        }
    }
    catch (...)
    {
        // Nothing leads out of the states between.
        m_state.store(ManagerInstallState::failed);
        throw;
    }
    m_state.store(done ? ManagerInstallState::installed : ManagerInstallState::failed);
}

Outcome ManagerInstallation::bring(const std::string& archivePath, MessageBoard& messageBoard)
{
    const Staging staging(m_workingDirectory + "/orlix_manager.unpacking");
    Outcome outcome = staging.made();
    if (outcome)
        outcome = fetchArchive(archivePath, messageBoard);
    if (outcome)
        outcome = unpackArchive(archivePath, staging);
    if (outcome)
        outcome = filesAreComplete(staging.content());
    if (outcome)
        outcome = moveIntoPlace(staging);
    if (outcome)
        outcome = logVersion();
    if (!outcome)
        log_info("Error! Could not install Orlix Manager: %s\n", outcome.why().c_str());
    return outcome;
}

Outcome ManagerInstallation::fetchArchive(
    const std::string& archivePath, MessageBoard& messageBoard)
{
    const std::string url = managerArchiveUrl();
    m_state.store(ManagerInstallState::downloading);
    Outcome outcome = downloadFile(
        url, archivePath, messageBoard, board_key::kManagerDownload,
        "Downloading Orlix Manager: ", {}, m_stop);
    if (!outcome)
        log_info("Error! Could not download Orlix Manager file from %s!\n", url.c_str());
    return outcome;
}

Outcome ManagerInstallation::unpackArchive(const std::string& archivePath, const Staging& staging)
{
    m_state.store(ManagerInstallState::unpacking);
    // The archive holds the installation folder itself.
    const std::string command =
        "tar xfz \"" + archivePath + "\" -C \"" + staging.content() + "\" --no-same-owner";
    log_info("Unpacking Orlix Manager with command: \"%s\"\n", command.c_str());
    const CommandResult result = runCommand(command, kUnpackLimit, m_stop);
    deleteFile(archivePath);
    if (result.exitCode != 0)
        log_info("Error! Failed to unpack Orlix Manager: %s\n", beginningOf(result.output).c_str());
    return staging.unpacked(result);
}

// Of what was unpacked into `folder`; the paths that are told are those that it would have.
Outcome ManagerInstallation::filesAreComplete(const std::string& folder) const
{
    const std::string manager = std::string("/bin/") + kManagerExecutable;
    const std::string engine = std::string("/bin/") + kEngineExecutable;
    const std::string version = "/VERSION";
    const std::string unpacked = folder + manager_files::kRootFolder;
    if (fileExists(unpacked + manager) && fileExists(unpacked + engine) &&
        fileExists(unpacked + version))
    {
        return {};
    }
    log_info(
        "Warning! Failed installing the Edge Orlix Manager. Checked filepaths: \n%s\n%s\n%s\n",
        (m_installationDirectory + manager).c_str(), (m_installationDirectory + engine).c_str(),
        (m_installationDirectory + version).c_str());
    return Outcome::failed("The archive does not hold all that belongs to it.");
}

Outcome ManagerInstallation::moveIntoPlace(const Staging& staging) const
{
    const std::string last =
        std::string(manager_files::kRootFolder).substr(1) + "/bin/" + kManagerExecutable;
    Outcome outcome = staging.moveInto(m_workingDirectory, last);
    if (!outcome)
        log_info(
            "Error! Could not move Orlix Manager into place: %s\n",
            m_installationDirectory.c_str());
    return outcome;
}

Outcome ManagerInstallation::logVersion() const
{
    const std::string path = m_installationDirectory + "/VERSION";
    std::size_t size = 0;
    const auto text = readFile(path, &size);
    if (!text)
    {
        log_info("Error! Could not open Orlix Manager version file.\n");
        return Outcome::failed("The file " + path + " could not be read.");
    }
    const std::string version(text.get(), size);
    if (!version.empty())
        log_info("Installed Orlix Manager version: %s\n", version.c_str());
    return {};
}

bool ManagerInstallation::remove()
{
    log_info("Removing Orlix Manager at %s\n", m_installationDirectory.c_str());
    for (const char* const entry : kInstallationEntries)
    {
        const std::string path = path_join(m_installationDirectory, entry);
        log_debug("Removing path: %s\n", path.c_str());
        std::error_code error;
        remove_tree(path, error);
        if (error)
        {
            const std::filesystem::filesystem_error failure(
                "cannot remove all", pathFromUtf8(path), error);
            log_info("Failed to remove cache!\n%s\n", failure.what());
            return false;
        }
    }
    m_state.store(ManagerInstallState::notInstalled);
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
