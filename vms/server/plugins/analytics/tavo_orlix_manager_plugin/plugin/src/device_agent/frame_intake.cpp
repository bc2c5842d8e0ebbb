// The road of a frame from the host to the manager application. It ends when the application has
// confirmed that it has the frame; the result comes back on another thread, to handleResultMessage.

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include <tavo/sdk/ptr.h>

#include "base/ini.h"
#include "device_agent/device_agent.h"
#include "device_agent/settings/region_of_interest.h"
#include "inference/input_message.h"
#include "inference/protocol.h"
#include "remote/cloud_client.h"
#include "utils/clock.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using Frame = sdk::analytics::IUncompressedVideoFrame;

constexpr std::int64_t kMaxFrameAgeUs = 500'000; // older frames are told of, and go on

// A host may hand out a frame whose plane it could not map.
bool hasPixels(const Frame& frame)
{
    return frame.data(0) || frame.width() == 0 || frame.height() == 0;
}

} // namespace

// 1. Let the frame pass, or ignore it.
// 2. Note when, and tell of an old frame.
// 3. Cut out the region of interest.
// 4. Make the input message.
// 5. Hand it over. A failure costs this one frame and is no failure of the operation.
// 6. Remember when the frame left.
// settingsLock() is held to the end, also while the application is waited for: it is one lock for
// all devices, so they take turns, in order. On every way out the lock goes first and then the
// frame.
bool DeviceAgent::pushUncompressedVideoFrame(sdk::Ptr<const Frame> videoFrame)
{
    const sdk::Ptr<const Frame> frame = std::move(videoFrame);
    log_debug("Device %s received uncompressed frame.\n", m_deviceId.c_str());
    const FairMutexLock lock(settingsLock(), FairMutex::Lane::inLine);
    if (!frameMayPass())
        return true;

    log_debug("Did checks.\n");
    const std::uint64_t passedAtUs = time_now_us();
    const auto timestampUs = static_cast<std::uint64_t>(frame->timestampUs());
    log_debug("Logged frame time.\n");
    warnOfAge(passedAtUs, timestampUs);

    if (!hasPixels(*frame))
    {
        log_info("Warning! Could not create image message.\n");
        return false;
    }
    InputImage image;
    if (!imageToSend(*frame, image))
    {
        log_info("Error! Crop box too small!\n");
        return false;
    }
    if (!makeInputMessage(image, timestampUs))
    {
        log_info("Warning! Could not create image message.\n");
        return false;
    }
    if (m_services->managerInterface().sendInput(m_inputMessage, m_deviceNumber))
        m_frameClock.record(timestampUs, passedAtUs);
    log_debug("Done processing uncompressed frame.\n");
    return true;
}

// The gates, the first that is shut ending the frame. The override of the ini file opens those in
// between, for tests of the application; without a pipeline there is nothing to send.
bool DeviceAgent::frameMayPass() const
{
    if (m_services->managerInstallation().managerInstallState() != ManagerInstallState::installed ||
        m_services->cloudConnectionState() != kCloudConnected)
    {
        return false;
    }
    if (!ini().sendFramesOverride)
    {
        if (!m_settings.deviceActive)
            return false;
        if (m_services->managerInterface().state() != ManagerState::Running)
            return false;
    }
    return m_pipelineParsed;
}

void DeviceAgent::warnOfAge(std::uint64_t passedAtUs, std::uint64_t timestampUs) const
{
    if (static_cast<std::int64_t>(passedAtUs - timestampUs) <= kMaxFrameAgeUs)
        return;
    log_info(
        "Warning! Frame age over 500ms. Time now:  %zu  Frame time: %zu Device: %s\n",
        static_cast<std::size_t>(passedAtUs), static_cast<std::size_t>(timestampUs),
        m_deviceId.c_str());
}

// False when the crop box comes to nothing. The region is not copied out: it is the frame's own
// memory with a line size of its own, so that its pixels are copied once on their whole road.
bool DeviceAgent::imageToSend(const Frame& frame, InputImage& image) const
{
    const auto* const plane = reinterpret_cast<const std::uint8_t*>(frame.data(0));
    const int width = frame.width();
    const int height = frame.height();
    const int lineSize = frame.lineSize(0);
    log_debug("Region of interest start: %d\n", m_settings.cropBox.empty() ? 1 : 0);
    if (m_settings.cropBox.empty())
    {
        image.pixels = plane;
        image.lineSize = static_cast<std::size_t>(lineSize);
        image.width = static_cast<std::uint32_t>(width);
        image.height = static_cast<std::uint32_t>(height);
        return true;
    }

    const PixelRegion region = regionOfInterest(width, height, m_settings.cropBox);
    log_debug(
        "Crop height and width: %zux%zu\n", static_cast<std::size_t>(region.width),
        static_cast<std::size_t>(region.height)); // in this order, as operators know it
    if (region.width == 0 || region.height == 0)
        return false;
    // Cropped frames are taken to be tightly packed, whatever their line size.
    image.lineSize = static_cast<std::size_t>(width) * protocol::kChannels;
    image.pixels = plane + region.top * image.lineSize +
        static_cast<std::size_t>(region.left) * protocol::kChannels;
    image.width = region.width;
    image.height = region.height;
    return true;
}

bool DeviceAgent::makeInputMessage(const InputImage& image, std::uint64_t timestampUs)
{
    // Another thread may exchange the tree. It is released before the application is waited for:
    // the message has its own copy of the pipelines' bytes.
    const MutexLock lock(m_pipelineLock);
    log_debug("Creating raw image message...\n");
    // The settings are read in place: settingsLock() is held, so a copy would buy nothing.
    return createInputMessage(
        image, {timestampUs, m_deviceNumber, m_deviceId, m_deviceName}, m_settings,
        m_pipelineTree ? m_pipelineTree->encoded() : std::span<const char>(), m_inputMessage);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
