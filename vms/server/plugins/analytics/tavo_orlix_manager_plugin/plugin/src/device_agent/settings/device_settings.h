#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "base/frame_settings.h"
#include "base/pipeline_option.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What selectedPipeline holds when the device's pipeline is none of those that the cloud offers.
inline constexpr char kCustomPipeline[] = "Custom";

// One pipeline node with its model's non-maximum suppression value, a fraction.
struct ModelNmsEntry
{
    float nms = 0;
    std::string modelName;
    std::string modelUUID;
};

// What a camera's settings and pipeline come to, typed. One record per device agent; every field
// of every record is guarded by settingsLock(). Coordinates are fractions of the image.
struct DeviceSettings : FrameSettings
{
    bool deviceActive = false;
    std::string adminUrl;
    std::string pipelineDescription; // text for people
    std::vector<std::string> classes; // of the pipeline's models, in ascending byte order
    std::vector<std::string> processors; // pre- and postprocessors of the pipeline, may repeat
    std::unordered_map<std::string, bool> visualiseClasses; // a class without an entry is shown
    std::vector<float> cropBox; // x1, y1, x2, y2 with x1 <= x2, y1 <= y2, or empty
    std::vector<PipelineOption> availablePipelines;
    std::string selectedPipeline; // an option's uuid, or kCustomPipeline
    std::vector<ModelNmsEntry> modelNms;
};

// The one lock over all DeviceSettings of the process, held for a look or a change, for the making
// of an input message and of a result's packets. Never while an application, the host, the cloud or
// a disk is waited for, nor while the host's code runs, which may therefore call straight back.
Mutex& settingsLock();

} // namespace tavo::vms_server_plugins::analytics::orlix
