#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "device_agent/device_settings.h"
#include "device_agent/pipeline_tree.h"
#include "inference/message_buffer.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The image of one frame: RGB, 3 bytes a pixel.
struct InputImage
{
    const std::uint8_t* pixels = nullptr; // not owned
    std::size_t lineSize = 0; // bytes from row to row, at least 3 * width
    std::uint32_t width = 0; // pixels
    std::uint32_t height = 0;
};

// Whose frame it is, and when it was taken.
struct InputSource
{
    std::uint64_t timestampUs = 0; // the host's clock
    std::uint64_t deviceNumber = 0; // comes back in results as InputIndex
    const std::string& deviceId;
    const std::string& deviceName;
};

// Encodes one input message into `buffer`, which keeps its memory from frame to frame. The caller
// holds settingsLock() and the agent's pipelineLock, so neither `settings` nor `pipelines` changes.
// `pipelines` may be null: the message then carries an empty array. False, with the reason logged,
// when the message cannot be written; the buffer's content is then undefined.
[[nodiscard]] bool createInputMessage(const InputImage& image, const InputSource& source,
    const DeviceSettings& settings, const PipelineTree* pipelines, MessageBuffer& buffer);

} // namespace tavo::vms_server_plugins::analytics::orlix
