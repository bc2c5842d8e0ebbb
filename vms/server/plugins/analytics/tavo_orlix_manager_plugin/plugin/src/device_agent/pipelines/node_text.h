#pragma once

#include <string_view>

#include <mpack.h>

// Texts in a message, valid as long as its bytes. What is no text, or has a zero byte in it, puts
// the message's tree in error and reads as empty.

namespace tavo::vms_server_plugins::analytics::orlix
{

// A name or a label; one that is too long is an error, too.
[[nodiscard]] std::string_view readName(mpack_node_t node);

// A text of any length.
[[nodiscard]] std::string_view readText(mpack_node_t node);

} // namespace tavo::vms_server_plugins::analytics::orlix
