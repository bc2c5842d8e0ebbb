#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <mpack.h>

#include "inference/protocol.h"
#include "utils/mpack_tree.h"
#include "utils/sockets.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// What the application answers to an announcement; empty names are left out.
inline std::string encodedReply(const std::string& segment, const std::string& closedSegment = "")
{
    MpackGrowableWriter writer;
    mpack_start_map(writer.writer(), (segment.empty() ? 0 : 1) + (closedSegment.empty() ? 0 : 1));
    for (const auto& [key, name] :
         {std::pair{protocol::key::kCloseSegment, closedSegment},
          std::pair{protocol::key::kSegment, segment}})
    {
        if (name.empty())
            continue;
        mpack_write_cstr(writer.writer(), key);
        mpack_write_str(writer.writer(), name.data(), static_cast<std::uint32_t>(name.size()));
    }
    mpack_finish_map(writer.writer());
    EXPECT_EQ(mpack_ok, writer.close());
    return {writer.bytes().data(), writer.bytes().size()};
}

// The application's end of the module socket, on a thread of its own: takes every connection's
// first message, answers it with the reply that is set, and takes what comes after.
class ModulePeer
{
public:
    using Reply = std::function<std::string(const std::string& message)>; // empty: no answer

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
        reply([bytes](const std::string&) { return bytes; });
    }
    void reply(Reply reply)
    {
        const std::lock_guard lock(m_mutex);
        m_reply = std::move(reply);
    }

    // Of all connections that have ended, in the order in which they came.
    std::vector<std::string> messages()
    {
        const std::lock_guard lock(m_mutex);
        return m_messages;
    }

    // The messages, once there are that many; what is there after a long while otherwise.
    std::vector<std::string> messages(std::size_t count)
    {
        comesTrue([&]() { return messages().size() >= count; });
        return messages();
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
        const std::string answer = makeReply ? makeReply(message) : std::string();
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
