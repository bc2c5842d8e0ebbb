#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/geometry.h"

namespace tavo::devkit
{

// One node of a device's pipelines.
struct PipelineNode
{
    std::string modelUuid;
    float nms = 0.5f; // of two boxes of a class that overlap by more, the better one stays; 0 to 1
    std::string preprocessor; // empty when there is none
    std::string postprocessor;
};

// Objects of a class are watched for how long they stay.
struct StayWatch
{
    std::string objectClass;
    std::uint64_t thresholdUs = 0;
};

// A decoded input message. Points are in pixels of the image.
struct InputFrame
{
    RgbImage rgb; // the message's own memory
    std::uint64_t inputIndex = 0;
    std::uint64_t timestampUs = 0; // the host's clock
    std::vector<PipelineNode> pipeline; // all nodes, each before those chained to it
    std::vector<Polygon> masks;
    bool masksExclude = false; // objects count outside of all masks, instead of inside any
    Polygon line; // empty, or two points or more
    std::optional<StayWatch> dumping;
    std::optional<StayWatch> loitering;
    std::map<std::string, std::string> externalSettings;

    // A node names this pre- or postprocessor.
    [[nodiscard]] bool hasProcessor(std::string_view name) const;
};

// Decodes an input message, which must stay as long as the image is used. Nothing, with the reason
// logged, when something needed is missing, of a wrong type, or does not fit the rest.
[[nodiscard]] std::optional<InputFrame> decodeInputFrame(std::span<const char> message);

} // namespace tavo::devkit
