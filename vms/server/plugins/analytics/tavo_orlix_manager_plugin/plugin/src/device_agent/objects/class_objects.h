#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <mpack.h>

#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The entry of a class in a result's metadata of objects, as far as it gives ids. `metadata` is the
// node at "ObjectsMetaData", missing or not; the answer is missing when the class comes without
// ids.
[[nodiscard]] mpack_node_t metadataWithIds(mpack_node_t metadata, const std::string& className);

// The objects of a class: one for every four floats of `boxes`, a binary value, that are there in
// part at least, up to `limit`; what lies beyond its end reads as 0. With ids, these and the
// attributes come from `metadata`, the node that metadataWithIds gave; otherwise both are empty.
// Where the metadata is too short or broken, the tree is in error, and from there on ids and
// attributes are empty.
[[nodiscard]] std::vector<TrackedObject> readClassObjects(
    mpack_node_t boxes, mpack_node_t metadata, const std::string& className,
    std::uint64_t timestampUs, std::size_t limit);

// How many objects that would be without the limit.
[[nodiscard]] std::size_t countClassObjects(mpack_node_t boxes);

} // namespace tavo::vms_server_plugins::analytics::orlix
