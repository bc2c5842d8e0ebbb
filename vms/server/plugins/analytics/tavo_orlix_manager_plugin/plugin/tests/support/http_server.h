#pragma once

#include <thread>

#include <httplib.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A real HTTP server on a free port of the loopback interface, for as long as a test needs it. Set
// its handlers up first, then start it.
class LoopbackHttpServer
{
public:
    ~LoopbackHttpServer()
    {
        handlers.stop();
        if (m_thread.joinable())
            m_thread.join();
    }

    void start()
    {
        m_port = handlers.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this]() { handlers.listen_after_bind(); });
        while (!handlers.is_running())
            std::this_thread::yield();
    }

    [[nodiscard]] std::string url(const std::string& path) const
    {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }

    httplib::Server handlers;

private:
    int m_port = 0;
    std::thread m_thread;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
