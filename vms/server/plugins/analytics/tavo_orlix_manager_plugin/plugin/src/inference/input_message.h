#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "base/frame_settings.h"
#include "inference/message_buffer.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Whose frame it is, and when it was taken.
struct InputSource
{
    std::uint64_t timestampUs = 0; // the host's clock
    std::uint64_t deviceNumber = 0; // comes back in results as InputIndex
    const std::string& deviceId; // not owned
    const std::string& deviceName; // not owned
};

// Makes one input message in `buffer`, which keeps its memory from frame to frame. The pixels are
// not copied here: `image` must live until the message was sent. `pipelines` is one whole
// MessagePack value, the camera's pipelines; when it is empty, the message carries an empty array.
// The caller sees to it that neither it nor `settings` changes meanwhile. False, with the reason
// logged, when the message cannot be written or is larger than a segment can be; the buffer is
// then empty.
[[nodiscard]] bool createInputMessage(
    const InputImage& image, const InputSource& source, const FrameSettings& settings,
    std::span<const char> pipelines, MessageBuffer& buffer);

} // namespace tavo::vms_server_plugins::analytics::orlix
