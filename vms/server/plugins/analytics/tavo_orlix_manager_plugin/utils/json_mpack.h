#pragma once

#include <memory>

#include <mpack.h>
#include <yyjson.h>

#include "utils/mpack_tree.h"

// From JSON to MessagePack, and copies of MessagePack nodes. No state; a failure is a log line and
// the result shown. mpack_node_clone and mpack_node_dump are for whoever looks into messages;
// nothing here calls them.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Null, with the reason logged, when the value holds what has no counterpart: a null, anywhere, or
// too deep a nesting. Null as well for more than kMaxTreeNodes values.
[[nodiscard]] std::unique_ptr<MpackTree> json_to_mpack_tree(yyjson_val* value);

// Writes one value. False, with the value written in part, as above.
[[nodiscard]] bool json_to_mpack_write(yyjson_val* value, mpack_writer_t* writer);

// Copies a node as it is, except that what has no counterpart is left out with a warning; as that
// would leave a map or an array short, it flags the writer there.
void mpack_node_write(mpack_node_t node, mpack_writer_t* writer);

[[nodiscard]] std::unique_ptr<MpackTree> mpack_node_clone(mpack_node_t node);

// Prints a node to standard output.
void mpack_node_dump(mpack_node_t node);

} // namespace tavo::vms_server_plugins::analytics::orlix
