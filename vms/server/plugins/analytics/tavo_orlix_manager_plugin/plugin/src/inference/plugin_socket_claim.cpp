#include "inference/plugin_socket_claim.h"

#include <chrono>
#include <exception>

#include "utils/deadline.h"
#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

bool PluginSocketClaim::wait(
    const std::string& socketPath, const std::stop_token& stop,
    const std::function<void()>& whenAlone)
{
    while (!stop.stop_requested() && !m_isSettled)
    {
        try
        {
            m_isSettled = ask(socketPath + ".lock", whenAlone);
        }
        catch (const std::exception& error) // for want of memory
        {
            log_warning("", "Error in listenerLoop: %s\n", error.what());
        }
        if (!m_isSettled)
            static_cast<void>(sleepUnlessStopped(std::chrono::seconds(1), stop));
    }
    return m_isSettled;
}

bool PluginSocketClaim::ask(const std::string& path, const std::function<void()>& whenAlone)
{
    const FileLock::Outcome outcome = m_lock.take(path);
    if (outcome == FileLock::Outcome::heldByAnother)
    {
        tellOfAnother(path);
        return false;
    }
    if (outcome == FileLock::Outcome::failed)
    {
        const SystemErrorText error(last_system_error());
        log_info("Warning: Could not lock %s: %.*s\n", path.c_str(), error.length(), error.c_str());
        return true;
    }
    whenAlone();
    if (m_hasTold)
    {
        log_info("The plugin socket is free and taken over.\n");
        m_messageBoard.removeMessage(board_key::kPluginSocketTaken);
    }
    return true;
}

void PluginSocketClaim::tellOfAnother(const std::string& path)
{
    if (!m_repetitions.mayPass())
        return;
    m_hasTold = true;
    m_messageBoard.postMessage(
        board_key::kPluginSocketTaken,
        "Another server on this machine uses the same temporary folder, so no AI pipelines run on "
        "this one: " +
            path +
            " is in use. Give the service of each server a temporary folder of its own (TMPDIR, on "
            "Windows TMP) and restart it, or stop the other server.",
        MessageType::warning);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
