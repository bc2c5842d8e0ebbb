#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <stop_token>
#include <string>

#include <mpack.h>

#include "utils/mpack_tree.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Who takes the results. Called on the listener's thread, one result at a time.
class ResultReceiver
{
public:
    // `root` is a decoded result message, good for the call; what cannot be read leaves its tree in
    // error. False, with the reason logged, when there is no camera of that index.
    [[nodiscard]] virtual bool deliverResult(std::uint32_t inputIndex, mpack_node_t root) = 0;

protected:
    ~ResultReceiver() = default;
};

// The listener thread: takes one result per connection on the plugin socket until `stop`.
// A socket that cannot be listened on ends it at once, with a log line. A connection that brings no
// message repeats the one before.
//
// While it runs, `listeningSocket` holds the socket. Whoever exchanges it for kInvalidSocket closes
// it: to end the listener, request `stop`, take the socket, shut it down, join the thread, and
// close the socket then.
void listenerLoop(
    const std::string& socketPath, std::atomic<SocketHandle>& listeningSocket,
    const std::stop_token& stop, ResultReceiver& receiver);

// Decodes one result message and delivers it by its InputIndex. Whatever is wrong with the message
// costs this one message. `tree` is what it is decoded with, kept from message to message.
void handleSocketMessage(
    ResultReceiver& receiver, std::span<const char> message, MessageTree& tree);

} // namespace tavo::vms_server_plugins::analytics::orlix
