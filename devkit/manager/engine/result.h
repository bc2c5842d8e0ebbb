#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "engine/object_tracker.h"

namespace tavo::devkit
{

struct ResultObject
{
    Box box; // pixels of the image
    ObjectId id{};
    std::vector<std::pair<std::string, std::string>> attributes; // name and value
};

struct ResultEvent
{
    std::string id;
    std::string caption;
    std::string description;
};

// What was found in one frame.
struct Result
{
    std::uint64_t inputIndex = 0;
    std::uint64_t timestampUs = 0; // the frame's, unchanged
    Size imageSize;
    std::map<std::string, std::vector<ResultObject>> objects; // by class name
    bool hasIds = false; // the objects' ids and attributes are sent too
    std::map<std::string, std::uint64_t> counts; // by class name; not sent when empty
    std::vector<ResultEvent> events; // not sent when empty
};

// The result message; empty if it could not be written.
[[nodiscard]] std::vector<char> encodeResult(const Result& result);

} // namespace tavo::devkit
