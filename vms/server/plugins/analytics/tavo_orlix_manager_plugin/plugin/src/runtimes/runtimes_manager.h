#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/message_board.h"
#include "runtimes/runtime_status.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The inference runtime of this machine: which could be used, which is installed, and how it comes
// and goes. A runtime is a shared library with its companions, unpacked into the bin folder of the
// manager application.
//
// Threads: initialise runs on the thread that constructs the engine; all other operations on the
// runtime loop's, except that a user's choice (chooseRuntime, setStatus) comes from a host thread
// and that the state and the names may be read from any.
class RuntimesManager
{
public:
    explicit RuntimesManager(std::string binDirectory);
    ~RuntimesManager();
    RuntimesManager(const RuntimesManager&) = delete;
    RuntimesManager& operator=(const RuntimesManager&) = delete;

    [[nodiscard]] RuntimeStatus status() const { return m_status.load(); }
    void setStatus(RuntimeStatus status) { m_status.store(status); }

    // True from the start, and after each saved runtime name, until the loop has applied it.
    [[nodiscard]] bool runtimeChanged() const { return m_runtimeChanged.load(); }
    void clearRuntimeChanged() { m_runtimeChanged.store(false); }

    // The list offered to the user.
    [[nodiscard]] std::vector<std::string> availableRuntimes() const;
    void setAvailableRuntimes(std::vector<std::string> names);

    // The runtime that the user picked; sets the status to chosen.
    void chooseRuntime(std::string name);
    [[nodiscard]] std::string chosenRuntime() const;

private:
    const std::string m_binDirectory;
    std::atomic<RuntimeStatus> m_status{RuntimeStatus::notSelected};
    std::atomic<bool> m_runtimeChanged{true};
    mutable Mutex m_namesMutex; // a leaf
    std::vector<std::string> m_availableRuntimes GUARDED_BY(m_namesMutex);
    std::string m_chosenRuntime GUARDED_BY(m_namesMutex);
    std::string m_installedRuntimeName GUARDED_BY(m_namesMutex);
};

} // namespace tavo::vms_server_plugins::analytics::orlix
