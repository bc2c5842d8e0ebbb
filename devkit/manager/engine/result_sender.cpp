#include "engine/result_sender.h"

#include <utility>

#include "utils/log.h"
#include "utils/sockets.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

ResultSender::ResultSender(std::string pluginSocket, const char* timesFile) :
    m_pluginSocket(std::move(pluginSocket)),
    m_times(timesFile),
    m_thread([this] { run(); })
{}

ResultSender::~ResultSender()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void ResultSender::send(Outgoing result)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_waiting.size() == kMaxWaiting)
        {
            orlix::log_debug("Result dropped: the plugin does not follow.\n");
            m_waiting.pop_front();
        }
        m_waiting.push_back(std::move(result));
    }
    m_changed.notify_one();
}

void ResultSender::run()
{
    std::unique_lock lock(m_mutex);
    for (;;)
    {
        m_changed.wait(lock, [this] { return m_stopping || !m_waiting.empty(); });
        if (m_stopping)
            return;
        const Outgoing result = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        m_times.note(result.inputIndex, result.timestampUs);
        const orlix::SocketHandle socket = orlix::socket_connect(m_pluginSocket);
        if (socket != orlix::kInvalidSocket) // else the reason is in the log
        {
            (void)orlix::socket_send_message(
                socket, result.message.data(), static_cast<std::uint32_t>(result.message.size()));
            orlix::socket_close(socket);
        }
        lock.lock();
    }
}

} // namespace tavo::devkit
