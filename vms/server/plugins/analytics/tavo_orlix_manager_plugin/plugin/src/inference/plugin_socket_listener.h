#pragma once

#include <span>

#include "utils/mpack_tree.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class Engine;

// The listener thread: takes one result per connection on the plugin socket until the engine shuts
// down. A socket that cannot be listened on ends it at once, with a log line; the engine then goes
// on without results. A connection that brings no message repeats the one before.
void listenerLoop(Engine& engine);

// Decodes one result message and hands it to the device agent that its InputIndex names, under the
// engine's m_deviceAgentsMutex. Whatever is wrong with the message costs this one message. `tree`
// is what it is decoded with, kept from message to message.
void handleSocketMessage(Engine& engine, std::span<const char> message, MessageTree& tree);

} // namespace tavo::vms_server_plugins::analytics::orlix
