#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/local_io.h"
#include "common/message_stream.h"
#include "module/engine_process.h"
#include "module/frame_board.h"
#include "module/segment_pool.h"

namespace tavo::devkit
{

// Takes frames from the plugin and hands them to the engine, one at a time, all on one thread that
// waits for many connections at once: a peer that is silent, dead or talks nonsense costs nobody
// else anything. The pixels are not touched here; what goes on is the name of their segment.
//
// An exchange: the sender announces a frame and is answered at once, with the name of a free
// segment, or with none while the engine is not ready or memory is short. When it confirms, its
// frame takes the place of the one of the same input that still waits, if any.
class ModuleServer
{
public:
    // `listeningSocket`, `pool` and `engine` outlive the server.
    // `replyDelay` is how long an announcement waits for its reply, and all others with it.
    ModuleServer(
        SocketHandle listeningSocket, SegmentPool& pool, EngineProcess& engine,
        std::chrono::milliseconds replyDelay = {});

    enum class End
    {
        stopped, // by command, or because stopRequested was set
        engineEnded,
    };

    // A set `stopRequested` is seen within half a second.
    [[nodiscard]] End serve(const std::atomic<bool>& stopRequested);

private:
    using Clock = SegmentPool::Clock;

    struct Connection
    {
        MessageStream stream;
        Clock::time_point deadline;
        std::uint64_t inputIndex = 0;
        std::string segment; // what the sender is writing to; empty when it is not
        bool isDone = false;
    };

    void watchSockets();
    void readEngine();
    void readConnections();
    void acceptConnections();
    void read(Connection& connection);
    void dropExpired(Clock::time_point now);
    void removeDone();
    void dispatch();

    void handle(Connection& connection, const InputAnnouncement& message);
    void handle(Connection& connection, const Completion& message);
    void handle(Connection& connection, const CommandMessage& message);
    void handle(Connection& connection, const EngineReady& message);
    void handle(Connection& connection, const auto& other);

    void accept(SocketHandle socket, Clock::time_point now);
    void abandon(Connection& connection);
    void sendToEngine(const auto& message);

    const SocketHandle m_listeningSocket;
    SegmentPool& m_pool;
    EngineProcess& m_engine;
    const std::chrono::milliseconds m_replyDelay;
    FrameBoard m_board;
    std::vector<std::unique_ptr<Connection>> m_connections; // oldest first
    std::vector<WatchedSocket> m_watched; // listening, engine's or none, then as m_connections
    bool m_engineIsBusy = false;
    bool m_engineEnded = false;
    bool m_stopped = false;
};

} // namespace tavo::devkit
