#pragma once

#include <atomic>
#include <stop_token>
#include <string>

#include "base/message_board.h"
#include "runtimes/staging.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Values of managerInstallState.
enum class ManagerInstallState : int
{
    notInstalled = 0, // or not yet known
    downloading = 1,
    unpacking = 2,
    failed = 3, // a removal leads out, or an application that somebody put there
    installed = 4,
};

// The manager application on this machine's disk. All operations run on the runtime loop's thread;
// managerInstallState may be read from any. There is no version check: what is on disk stays in use
// until it is removed.
class ManagerInstallation
{
public:
    // `stop` ends a download and an unpacking.
    explicit ManagerInstallation(const std::string& workingDirectory, std::stop_token stop = {});

    // Looks for the two executables unless already known to be installed. Both present moves a
    // state of notInstalled or failed to installed.
    ManagerInstallState checkInstallation();

    // Downloads the application's archive and unpacks it into the working directory, whole or not
    // at all. The state, the log and the board tell the outcome, the board the progress. Blocks for
    // as long as it takes. Throws std::filesystem::filesystem_error if the system has no temporary
    // directory.
    void install(MessageBoard& messageBoard);

    // Deletes the application with its settings and model cache. A failure is logged and leaves the
    // state as it was; false then.
    bool remove();

    [[nodiscard]] ManagerInstallState managerInstallState() const { return m_state.load(); }

private:
    Outcome bring(const std::string& archivePath, MessageBoard& messageBoard);
    Outcome fetchArchive(const std::string& archivePath, MessageBoard& messageBoard);
    Outcome unpackArchive(const std::string& archivePath, const Staging& staging);
    Outcome filesAreComplete(const std::string& folder) const;
    Outcome moveIntoPlace(const Staging& staging) const;
    Outcome logVersion() const;

    const std::stop_token m_stop;
    std::string m_workingDirectory;
    std::string m_installationDirectory;
    std::atomic<ManagerInstallState> m_state{ManagerInstallState::notInstalled};
};

// Where the archive for this machine is downloaded from.
[[nodiscard]] std::string managerArchiveUrl();

} // namespace tavo::vms_server_plugins::analytics::orlix
