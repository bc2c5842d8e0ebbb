#include "module/module_server.h"

#include <optional>
#include <thread>
#include <utility>
#include <variant>

#include "utils/log.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

// How often the server looks at what no socket tells it: a stop request, expired connections,
// segments gone idle, an engine that ended before it was ready.
constexpr int kTickMs = 500;

// A sender writes its frame within a fraction of this.
constexpr std::chrono::seconds kExchangeDeadline{5};

// Beyond this the oldest connection makes room for a new one.
constexpr std::size_t kMaxConnections = 128;

constexpr std::size_t kListening = 0;
constexpr std::size_t kEngine = 1;
constexpr std::size_t kFirstConnection = 2;

} // namespace

ModuleServer::ModuleServer(
    SocketHandle listeningSocket, SegmentPool& pool, EngineProcess& engine,
    std::chrono::milliseconds replyDelay) :
    m_listeningSocket(listeningSocket),
    m_pool(pool),
    m_engine(engine),
    m_replyDelay(replyDelay)
{
    set_non_blocking(m_listeningSocket);
}

ModuleServer::End ModuleServer::serve(const std::atomic<bool>& stopRequested)
{
    while (!m_stopped && !stopRequested)
    {
        watchSockets();
        wait_for_any(m_watched, kTickMs);
        readEngine();
        readConnections();
        acceptConnections();
        const Clock::time_point now = Clock::now();
        dropExpired(now);
        m_pool.removeIdle(now);
        for (const std::string& name : m_pool.removedForEngine())
            sendToEngine(ForgetSegment{name});
        removeDone();
        dispatch();
        if (m_engineEnded || !m_engine.isAlive())
            return End::engineEnded;
    }
    return End::stopped;
}

void ModuleServer::watchSockets()
{
    m_watched.clear();
    m_watched.push_back({m_listeningSocket});
    // The invalid socket is never ready.
    m_watched.push_back({m_engine.stream() ? m_engine.stream()->socket() : kInvalidSocket});
    for (const auto& connection : m_connections)
        m_watched.push_back({connection->stream.socket()});
}

void ModuleServer::readEngine()
{
    if (!m_watched[kEngine].isReady)
        return;
    MessageStream& stream = *m_engine.stream();
    m_engineEnded = !stream.receive();
    while (const std::optional<Message> message = stream.next())
    {
        if (const auto* const done = std::get_if<FrameDone>(&*message))
        {
            m_engineIsBusy = false;
            m_pool.giveBack(done->segment, Clock::now());
            dispatch();
        }
    }
}

void ModuleServer::readConnections()
{
    for (std::size_t i = kFirstConnection; i < m_watched.size(); ++i)
    {
        if (m_watched[i].isReady)
            read(*m_connections[i - kFirstConnection]);
    }
}

void ModuleServer::acceptConnections()
{
    if (!m_watched[kListening].isReady)
        return;
    const Clock::time_point now = Clock::now();
    for (std::size_t i = 0; i < kMaxConnections; ++i)
    {
        const SocketHandle accepted = accept_waiting(m_listeningSocket);
        if (accepted == kInvalidSocket)
            return;
        accept(accepted, now);
    }
}

void ModuleServer::accept(SocketHandle socket, Clock::time_point now)
{
    if (m_connections.size() == kMaxConnections)
    {
        abandon(*m_connections.front());
        m_connections.erase(m_connections.begin());
    }
    m_connections.push_back(std::make_unique<Connection>(
        Connection{MessageStream(socket), now + kExchangeDeadline, 0, {}, false}));
    // Senders write before anything else, so their first message has mostly arrived.
    read(*m_connections.back());
}

void ModuleServer::read(Connection& connection)
{
    const bool isOpen = connection.stream.receive();
    while (!connection.isDone)
    {
        const std::optional<Message> message = connection.stream.next();
        if (!message)
            break;
        std::visit([&](const auto& typed) { handle(connection, typed); }, *message);
    }
    if (isOpen || connection.isDone)
        return;
    // The sender has closed, so it does not write any more, whether or not it has.
    connection.isDone = true;
    if (!connection.segment.empty())
        m_pool.giveBack(std::exchange(connection.segment, {}), Clock::now());
}

void ModuleServer::handle(Connection& connection, const InputAnnouncement& message)
{
    InputReply reply;
    if (!connection.segment.empty())
        return handle(connection, Unknown());
    if (m_engine.stream())
        reply.segment = m_pool.take(message.size, Clock::now());
    reply.close = m_pool.nextToDetach();
    orlix::log_debug(
        "Input %zu announces %zu bytes: %s\n", std::size_t(message.inputIndex),
        std::size_t(message.size), reply.segment.empty() ? "not ready" : reply.segment.c_str());
    connection.inputIndex = message.inputIndex;
    connection.segment = reply.segment;
    if (m_replyDelay > m_replyDelay.zero())
        std::this_thread::sleep_for(m_replyDelay);
    connection.isDone = !connection.stream.send(reply) || reply.segment.empty();
    // A sender that has not got the name does not write.
    if (connection.isDone && !connection.segment.empty())
        m_pool.giveBack(std::exchange(connection.segment, {}), Clock::now());
}

void ModuleServer::handle(Connection& connection, const Completion&)
{
    if (connection.segment.empty())
        return handle(connection, Unknown());
    connection.isDone = true;
    m_pool.confirm(connection.segment);
    const std::string skipped =
        m_board.put(connection.inputIndex, std::exchange(connection.segment, {}));
    if (!skipped.empty())
    {
        orlix::log_debug("Input %zu: frame skipped\n", std::size_t(connection.inputIndex));
        m_pool.giveBack(skipped, Clock::now());
    }
    dispatch();
}

void ModuleServer::handle(Connection& connection, const CommandMessage& message)
{
    connection.isDone = true;
    switch (message.command)
    {
        case protocol::Command::stop:
            orlix::log_info("Received stop command.\n");
            m_stopped = true;
            return;
        case protocol::Command::referenceRun:
            orlix::log_info("Received reference run command.\n");
            sendToEngine(message);
            return;
    }
    orlix::log_info("Warning! Unknown command: %zd\n", std::ptrdiff_t(message.command));
}

void ModuleServer::handle(Connection& connection, const EngineReady& message)
{
    connection.isDone = true;
    m_engine.link(std::move(connection.stream), message.token);
}

void ModuleServer::handle(Connection& connection, const auto&)
{
    orlix::log_info("Warning! Message not understood. Closing connection.\n");
    abandon(connection);
}

void ModuleServer::dropExpired(Clock::time_point now)
{
    for (const auto& connection : m_connections)
    {
        if (!connection->isDone && now > connection->deadline)
        {
            orlix::log_info("Warning! A sender has gone silent. Closing connection.\n");
            abandon(*connection);
        }
    }
}

void ModuleServer::abandon(Connection& connection)
{
    connection.isDone = true;
    if (!connection.segment.empty())
        m_pool.abandon(std::exchange(connection.segment, {}));
}

void ModuleServer::removeDone()
{
    std::erase_if(m_connections, [](const auto& connection) { return connection->isDone; });
}

void ModuleServer::dispatch()
{
    if (m_engineIsBusy || !m_engine.stream())
        return;
    if (const std::optional<std::string> segment = m_board.take())
    {
        m_engineIsBusy = true;
        sendToEngine(TakeFrame{*segment});
    }
}

void ModuleServer::sendToEngine(const auto& message)
{
    if (m_engine.stream() && !m_engine.stream()->send(message))
        m_engineEnded = true;
}

} // namespace tavo::devkit
