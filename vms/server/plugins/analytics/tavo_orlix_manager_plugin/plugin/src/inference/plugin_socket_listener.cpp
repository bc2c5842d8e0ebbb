#include "inference/plugin_socket_listener.h"

#include <chrono>
#include <exception>
#include <new>

#include "inference/protocol.h"
#include "utils/deadline.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Until shutdown; throws for want of memory.
void takeResults(SocketHandle socket, const std::stop_token& stop, ResultReceiver& receiver)
{
    ReceiveBuffer buffer;
    MessageTree tree;
    while (!stop.stop_requested())
    {
        const SocketHandle sender = socket_accept_message(socket, buffer, MessagePlace::sole);
        if (sender == kInvalidSocket)
            continue;
        try
        {
            if (!stop.stop_requested())
                handleSocketMessage(receiver, buffer.message(), tree);
        }
        catch (const std::exception& error)
        {
            // Costs this one message. Beyond here it would end the host's process.
            log_warning("", "Error in listenerLoop: %s\n", error.what());
        }
        catch (...)
        {
            log_warning("", "Unknown error in listenerLoop\n");
        }
        if (socket_close(sender) != 0)
            log_warning("", "Warning: Sender socket close error!\n");
    }
}

} // namespace

void listenerLoop(
    const std::string& socketPath, std::atomic<SocketHandle>& listeningSocket,
    const std::stop_token& stop, ResultReceiver& receiver)
{
    SocketFile socketFile;
    const SocketHandle socket = socket_listen(socketPath, &socketFile);
    if (socket == kInvalidSocket)
    {
        log_info("Error: Failed to create listening socket: %s\n", socketPath.c_str());
        return;
    }
    listeningSocket = socket;

    while (!stop.stop_requested())
    {
        try
        {
            takeResults(socket, stop, receiver);
        }
        catch (const std::bad_alloc& error)
        {
            log_warning("", "Error in listenerLoop: %s\n", error.what());
            static_cast<void>(
                sleepUnlessStopped(std::chrono::seconds(1), stop)); // there may be some
        }
    }

    // Whoever ends the listener has taken it, unless it was not there yet.
    const SocketHandle own = listeningSocket.exchange(kInvalidSocket);
    if (own != kInvalidSocket)
    {
        socket_shutdown(own);
        socket_close(own);
    }
    socket_unlink(socketPath, socketFile); // not that of another engine of this process
}

void handleSocketMessage(ResultReceiver& receiver, std::span<const char> message, MessageTree& tree)
{
    tree.parse(message);
    // A key that is not there gives a nil node and puts the tree in error, in which its index
    // reads 0 and the agent of that number drops it.
    const mpack_node_t indexNode = mpack_node_map_cstr(tree.root(), protocol::key::kInputIndex);
    if (mpack_node_is_missing(indexNode))
    {
        log_warning("", "Warning: Input message does not contain InputIndex.\n");
        if (tree.finish() != mpack_ok)
            log_warning("", "Warning: An error occurred encoding the data!\n");
        return;
    }
    const bool delivered = receiver.deliverResult(mpack_node_u32(indexNode), tree.root());
    if (tree.finish() == mpack_ok)
        return;
    if (delivered)
        log_warning("", "Warning: An error occurred decoding the data!\n");
    else
        log_warning("", "Warning: An error occurred encoding the data!\n"); // decoding, in truth
}

} // namespace tavo::vms_server_plugins::analytics::orlix
