#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include <httplib.h>

#include "test_certificate.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A real HTTP server on a free port of the loopback interface, for as long as a test needs it. Set
// its handlers up first, then start it.
class LoopbackHttpServer
{
public:
    httplib::Server& handlers;

    LoopbackHttpServer() :
        LoopbackHttpServer(std::make_unique<httplib::Server>(), "http://127.0.0.1:")
    {}

    ~LoopbackHttpServer()
    {
        handlers.stop();
        if (m_thread.joinable())
            m_thread.join();
    }

    void start()
    {
        m_base += std::to_string(handlers.bind_to_any_port("127.0.0.1"));
        m_thread = std::thread([this]() { handlers.listen_after_bind(); });
        while (!handlers.is_running())
            std::this_thread::yield();
        if (m_base.starts_with("http:"))
            refuseOne();
    }

    // A byte each 5 ms, of a megabyte.
    void trickle(const std::string& path)
    {
        handlers.Get(
            path,
            [this](const httplib::Request&, httplib::Response& response)
            {
                response.set_header("Content-Digest", "md5=AAAAAAAAAAAAAAAAAAAAAA==");
                response.set_content_provider(
                    1 << 20, "text/plain",
                    [this](std::size_t, std::size_t, httplib::DataSink& sink)
                    {
                        std::this_thread::sleep_for(std::chrono::milliseconds(5));
                        isLeft = !sink.write("x", 1);
                        return !isLeft;
                    });
            });
    }
    std::atomic<bool> isLeft{false}; // by whom it trickled for

    // A failure that is told at length: a kilobyte of one letter, and ten megabytes of another.
    void failAtLength(const std::string& path)
    {
        handlers.Get(
            path,
            [](const httplib::Request&, httplib::Response& response)
            {
                response.status = 500;
                static const std::string body = std::string(1024, 'a') + std::string(10 << 20, 'b');
                response.set_content_provider(
                    body.size(), "text/html",
                    [](std::size_t offset, std::size_t size, httplib::DataSink& sink)
                    {
                        if (offset != 0)
                            return sink.write(&body[offset], size);
                        sink.write(body.data(), 512);
                        std::this_thread::sleep_for(std::chrono::milliseconds(20));
                        return true;
                    });
            });
    }

    [[nodiscard]] std::string url(const std::string& path) const { return m_base + path; }

protected:
    LoopbackHttpServer(std::unique_ptr<httplib::Server> server, const char* base) :
        handlers(*server),
        m_server(std::move(server)),
        m_base(base)
    {}

private:
    // What the library makes for its first request, it looks at later in a way that the thread
    // sanitizer does not see: so this one comes before all others. No handler hears of it.
    void refuseOne()
    {
        httplib::Request request;
        request.method = "NONE";
        request.path = "/";
        httplib::Client(m_base).send(request);
    }

    std::unique_ptr<httplib::Server> m_server;
    std::string m_base;
    std::thread m_thread;
};

// As LoopbackHttpServer, over TLS, by the name "localhost".
class LoopbackHttpsServer : public LoopbackHttpServer
{
public:
    explicit LoopbackHttpsServer(const TestCertificate& certificate) :
        LoopbackHttpServer(
            std::make_unique<httplib::SSLServer>(certificate.get(), certificate.key()),
            "https://localhost:")
    {}
};

} // namespace tavo::vms_server_plugins::analytics::orlix
