#pragma once

#include <atomic>
#include <string>

#include "core/message_board.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Values of managerInstallState.
enum class ManagerInstallState : int
{
    notInstalled = 0, // or not yet known
    downloading = 1,
    unpacking = 2,
    failed = 3,
    installed = 4,
};

// The manager application on this machine's disk. All operations run on the runtime loop's thread;
// managerInstallState may be read from any.
class ManagerInstallation
{
public:
    explicit ManagerInstallation(const std::string& workingDirectory);

    // Looks for the two executables unless already known to be installed. Both present moves a
    // state of notInstalled to installed; a failed installation stays failed until a removal.
    ManagerInstallState checkInstallation();

    [[nodiscard]] ManagerInstallState managerInstallState() const { return m_state.load(); }

private:
    std::string m_workingDirectory;
    std::string m_installationDirectory;
    std::atomic<ManagerInstallState> m_state{ManagerInstallState::notInstalled};
};

} // namespace tavo::vms_server_plugins::analytics::orlix
