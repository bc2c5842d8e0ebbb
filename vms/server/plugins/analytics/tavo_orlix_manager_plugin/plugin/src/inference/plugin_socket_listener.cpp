#include "inference/plugin_socket_listener.h"

#include <cstdint>
#include <exception>

#include "core/engine.h"
#include "device_agent/device_agent.h"
#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/mutex.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using DeviceAgents = std::unordered_map<std::size_t, DeviceAgent*>;

// Null, with the reason logged, when a result cannot be delivered.
DeviceAgent* findAgent(const DeviceAgents& agents, std::size_t index)
{
    const auto entry = agents.find(index);
    if (entry == agents.end())
    {
        log_info("Device agent not found\n");
        return nullptr;
    }
    if (!entry->second)
        log_info("Something went terribly wrong casting device agent\n");
    return entry->second;
}

} // namespace

void listenerLoop(Engine& engine)
{
    const SocketHandle listeningSocket = socket_listen(engine.m_socketPath);
    if (listeningSocket == kInvalidSocket)
    {
        log_info("Error: Failed to create listening socket: %s\n", engine.m_socketPath.c_str());
        return;
    }
    engine.m_listeningSocket = listeningSocket;

    ReceiveBuffer buffer;
    MessageTree tree;
    while (!engine.m_shuttingDown)
    {
        const SocketHandle sender =
            socket_accept_message(listeningSocket, buffer, MessagePlace::sole);
        if (sender == kInvalidSocket)
            continue;
        try
        {
            if (!engine.m_shuttingDown)
                handleSocketMessage(engine, buffer.message(), tree);
        }
        catch (const std::exception& error)
        {
            // Costs this one message. Beyond here it would end the host's process.
            log_info("Error in listenerLoop: %s\n", error.what());
        }
        if (socket_close(sender) != 0)
            log_info("Warning: Sender socket close error!\n");
    }

    // Whoever takes the socket out closes it; the engine has, unless it was not there yet.
    const SocketHandle own = engine.m_listeningSocket.exchange(kInvalidSocket);
    if (own != kInvalidSocket)
    {
        socket_shutdown(own);
        socket_close(own);
    }
    socket_unlink(engine.m_socketPath);
}

void handleSocketMessage(Engine& engine, std::span<const char> message, MessageTree& tree)
{
    tree.parse(message);
    // A key that is not there gives a nil node and puts the tree in error, in which its index
    // reads 0 and the agent of that number drops it.
    const mpack_node_t indexNode = mpack_node_map_cstr(tree.root(), protocol::key::kInputIndex);
    if (mpack_node_is_missing(indexNode))
    {
        log_info("Warning: Input message does not contain InputIndex.\n");
        if (tree.finish() != mpack_ok)
            log_info("Warning: An error occurred encoding the data!\n");
        return;
    }
    const std::uint32_t index = mpack_node_u32(indexNode);

    const MutexLock lock(engine.m_deviceAgentsMutex);
    DeviceAgent* const agent = findAgent(engine.m_deviceAgents, index);
    if (!agent)
    {
        if (tree.finish() != mpack_ok)
            log_info("Warning: An error occurred encoding the data!\n"); // decoding, in truth
        return;
    }
    agent->handleResultMessage(tree.root());
    if (tree.finish() != mpack_ok)
        log_info("Warning: An error occurred decoding the data!\n");
}

} // namespace tavo::vms_server_plugins::analytics::orlix
