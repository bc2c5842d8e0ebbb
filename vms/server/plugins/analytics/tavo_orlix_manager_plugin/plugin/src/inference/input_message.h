#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "device_agent/pipelines/pipeline_tree.h"
#include "device_agent/settings/device_settings.h"
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
// not copied here: `image` must live until the message was sent. The caller holds settingsLock()
// and the agent's pipelineLock, so neither `settings` nor `pipelines` changes. `pipelines` may be
// null: the message then carries an empty array. False, with the reason logged, when the message
// cannot be written or is larger than a segment can be; the buffer is then empty.
[[nodiscard]] bool createInputMessage(
    const InputImage& image, const InputSource& source, const DeviceSettings& settings,
    const PipelineTree* pipelines, MessageBuffer& buffer);

} // namespace tavo::vms_server_plugins::analytics::orlix
