#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "inference/protocol.h"
#include "utils/sockets.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// What the application answers to an announcement; empty names are left out.
inline std::string encodedReply(const std::string& segment, const std::string& closedSegment = "")
{
    const auto entry = [](const std::string& key, const std::string& name)
    {
        const char head[] = {
            '\xda', static_cast<char>(name.size() >> 8), static_cast<char>(name.size())};
        return name.empty()
            ? ""
            : static_cast<char>(0xa0 + key.size()) + key + std::string(head, 3) + name;
    };
    return static_cast<char>(0x80 + !segment.empty() + !closedSegment.empty()) +
        entry(protocol::key::kCloseSegment, closedSegment) +
        entry(protocol::key::kSegment, segment);
}

// The application's end of the module socket, on a thread of its own: takes every connection's
// first message, answers it with the reply that is set, and takes what comes after.
class ModulePeer
{
public:
    using Reply = std::function<std::string()>; // empty: no answer

    explicit ModulePeer(const std::string& folder) :
        m_path(folder + "/" + protocol::kModuleSocketFile),
        m_socket(socket_listen(m_path)),
        m_thread([this]() { run(); })
    {}
    ~ModulePeer()
    {
        m_stop = true;
        socket_shutdown(m_socket);
        m_thread.join();
        socket_close(m_socket);
        socket_unlink(m_path);
    }

    void reply(const std::string& bytes)
    {
        replyBy([bytes]() { return bytes; });
    }
    void replyBy(Reply reply)
    {
        const std::lock_guard lock(m_mutex);
        m_reply = std::move(reply);
    }

    // Of all connections that have ended, once there are that many; what is there after a long
    // while otherwise.
    std::vector<std::string> messages(std::size_t count)
    {
        std::vector<std::string> messages;
        comesTrue(
            [&]()
            {
                const std::lock_guard lock(m_mutex);
                messages = m_messages;
                return messages.size() >= count;
            });
        return messages;
    }

private:
    void run()
    {
        while (!m_stop)
        {
            ReceiveBuffer buffer;
            const auto connection = socket_accept_message(m_socket, buffer);
            if (connection == kInvalidSocket)
                continue;
            serve(connection, {buffer.message().data(), buffer.message().size()});
            socket_close(connection);
        }
    }

    void serve(SocketHandle connection, const std::string& message)
    {
        Reply makeReply;
        {
            const std::lock_guard lock(m_mutex);
            makeReply = m_reply;
        }
        std::vector<std::string> messages = {message};
        const std::string answer = makeReply ? makeReply() : std::string();
        if (!answer.empty())
        {
            socket_send_message(
                connection, answer.data(), static_cast<std::uint32_t>(answer.size()));
            ReceiveBuffer next;
            socket_receive_message(connection, next);
            if (next.data())
                messages.emplace_back(next.message().data(), next.message().size());
        }
        const std::lock_guard lock(m_mutex);
        m_messages.insert(m_messages.end(), messages.begin(), messages.end());
    }

    const std::string m_path;
    const SocketHandle m_socket;
    std::mutex m_mutex;
    Reply m_reply;
    std::vector<std::string> m_messages;
    std::atomic<bool> m_stop{false};
    std::thread m_thread; // last: uses all of the above
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
