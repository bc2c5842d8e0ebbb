#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <mpack.h>

#include "inference/protocol.h"
#include "result_message.h"
#include "utils/shm.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// The application's end of the module socket: answers announcements with a real segment and takes
// the input message out of it.
class FakeApplication
{
public:
    // In the folder that the plugin takes for the system's temporary one.
    explicit FakeApplication(const std::string& folder) :
        m_path(folder + "/" + protocol::kModuleSocketFile),
        m_socket(socket_listen(m_path))
    {
        shm_create_random(m_segment, kPayloadSize);
        m_thread = std::thread([this]() { serve(); });
    }

    ~FakeApplication()
    {
        m_stop = true;
        socket_shutdown(m_socket);
        m_thread.join();
        socket_close(m_socket);
        socket_unlink(m_path);
        shm_close(m_segment);
        shm_remove(m_segment);
    }

    // Whether it takes inputs; it is not ready otherwise.
    void setReady(bool ready) { m_ready = ready; }

    // Every input message so far, as it stood in the segment, and every command; waits until there
    // are `count`.
    [[nodiscard]] std::vector<std::string> inputs(std::size_t count = 0)
    {
        return waitFor(m_inputs, count);
    }
    [[nodiscard]] std::vector<std::uint64_t> commands(std::size_t count)
    {
        return waitFor(m_commands, count);
    }

private:
    static constexpr std::uint32_t kPayloadSize = 1 << 20;

    template <typename T>
    std::vector<T> waitFor(const std::vector<T>& what, std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(20), [&]() { return what.size() >= count; });
        return what;
    }

    void serve()
    {
        ReceiveBuffer buffer;
        while (!m_stop)
        {
            const SocketHandle connection = socket_accept_message(m_socket, buffer);
            if (connection == kInvalidSocket)
                continue;
            answer(connection, buffer);
            socket_close(connection);
        }
    }

    void answer(SocketHandle connection, ReceiveBuffer& buffer)
    {
        MessageTree tree;
        (void)tree.parse(buffer.message());
        if (mpack_node_map_contains_cstr(tree.root(), protocol::key::kCommand))
        {
            const std::lock_guard lock(m_mutex);
            m_commands.push_back(
                mpack_node_u64(mpack_node_map_cstr(tree.root(), protocol::key::kCommand)));
            m_changed.notify_all();
            return;
        }

        MpackGrowableWriter reply;
        map(m_ready ? Entries{{protocol::key::kSegment, text(shm_name(m_segment))}}
                    : Entries{})(reply.writer());
        (void)reply.close();
        const auto bytes = reply.bytes();
        socket_send_message(connection, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        if (!m_ready)
            return;
        socket_receive_message(connection, buffer); // the completion message
        std::uint32_t size = 0;
        const char* data = nullptr;
        const ShmView view = shm_read(m_segment, size, data);
        const std::lock_guard lock(m_mutex);
        m_inputs.emplace_back(data, size);
        m_changed.notify_all();
    }

    const std::string m_path;
    const SocketHandle m_socket;
    ShmSegment m_segment;
    std::atomic<bool> m_ready{true};
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_inputs;
    std::vector<std::uint64_t> m_commands;
    std::thread m_thread; // last: it uses all of the above
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
