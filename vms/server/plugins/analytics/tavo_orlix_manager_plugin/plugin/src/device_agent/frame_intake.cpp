// The road of a frame from the host to the manager application. It ends when the application was
// told that it has the frame; the result comes back on another thread, to handleResultMessage.

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include <tavo/sdk/ptr.h>

#include "base/ini.h"
#include "device_agent/device_agent.h"
#include "device_agent/settings/region_of_interest.h"
#include "inference/exchange_line.h"
#include "inference/input_message.h"
#include "inference/protocol.h"
#include "remote/cloud_client.h"
#include "utils/clock.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using Frame = sdk::analytics::IUncompressedVideoFrame;

constexpr std::int64_t kMaxFrameAgeUs = 500'000; // older frames are told of, and go on

} // namespace

// What the host tells of a frame. Its answers are its own code, so they are asked for at one place,
// under no lock.
struct DeviceAgent::HostFrame
{
    explicit HostFrame(const Frame& frame) :
        timestampUs(static_cast<std::uint64_t>(frame.timestampUs())),
        format(frame.pixelFormat()),
        plane(reinterpret_cast<const std::uint8_t*>(frame.data(0))),
        planeSize(frame.dataSize(0)),
        width(frame.width()),
        height(frame.height()),
        lineSize(frame.lineSize(0))
    {}

    // Whether there are as many pixels as it says, and of the kind that goes to the application.
    // Nothing need follow the pixels of the last row.
    [[nodiscard]] bool isWhole() const
    {
        const std::int64_t rowSize = std::int64_t{width} * protocol::kChannels;
        return format == Frame::PixelFormat::rgb && plane && width > 0 && height > 0 &&
            lineSize >= rowSize && planeSize >= std::int64_t{lineSize} * (height - 1) + rowSize;
    }

    // What of a whole frame goes to the application; 0 wide or high when the crop box comes to
    // nothing. The region is not copied out: it is the frame's own memory with a line size of its
    // own, so that its pixels are copied once on their whole road.
    [[nodiscard]] InputImage image(const std::vector<float>& cropBox) const
    {
        log_debug("Region of interest start: %d\n", cropBox.empty() ? 1 : 0);
        if (cropBox.empty())
        {
            return {
                plane, static_cast<std::size_t>(lineSize), static_cast<std::uint32_t>(width),
                static_cast<std::uint32_t>(height)};
        }
        const PixelRegion region = regionOfInterest(width, height, cropBox);
        log_debug(
            "Crop height and width: %zux%zu\n", static_cast<std::size_t>(region.width),
            static_cast<std::size_t>(region.height)); // in this order, as operators know it
        // Cropped frames are taken to be tightly packed, whatever their line size.
        const std::size_t rowSize = static_cast<std::size_t>(width) * protocol::kChannels;
        const std::size_t offset =
            region.top * rowSize + static_cast<std::size_t>(region.left) * protocol::kChannels;
        return {plane + offset, rowSize, region.width, region.height};
    }

    const std::uint64_t timestampUs;
    const Frame::PixelFormat format;
    const std::uint8_t* const plane;
    const int planeSize;
    const int width;
    const int height;
    const int lineSize;
};

// 1. Let the frame pass, or ignore it; refuse one that is not whole.
// 2. Wait for the camera's turn, or give the frame up. One frame at a time goes to the application,
//    which paces the cameras.
// 3. Let it pass once more, and make the input message.
// 4. Hand it over. A failure costs this one frame and is no failure of the operation.
// 5. Remember when the frame had passed, if it was handed over, before its result can come.
// On every way out the turn goes first and then the frame.
bool DeviceAgent::pushUncompressedVideoFrame(sdk::Ptr<const Frame> videoFrame)
{
    const sdk::Ptr<const Frame> frame = std::move(videoFrame);
    log_debug("Device %s received uncompressed frame.\n", m_deviceId.c_str());
    {
        const MutexLock lock(settingsLock());
        if (!frameMayPass())
            return true;
    }
    const HostFrame hostFrame(*frame);
    if (!hostFrame.isWhole())
    {
        log_warning(
            m_deviceId,
            "Warning! Device %s: Dropping a frame that is no whole RGB picture: format %d, %dx%d, %d bytes a row, %d bytes.\n",
            m_deviceId.c_str(), static_cast<int>(hostFrame.format), hostFrame.width,
            hostFrame.height, hostFrame.lineSize, hostFrame.plane ? hostFrame.planeSize : 0);
        return false;
    }
    OrlixManagerInterface& manager = m_services->managerInterface();
    const ExchangeLine::Turn turn(manager.line(), m_placeInLine);
    if (!turn)
    {
        log_debug(
            "Device %s: No turn in time for a frame. Cameras in line: %zu\n", m_deviceId.c_str(),
            manager.line().length());
        return true;
    }
    std::uint64_t passedAtUs = 0;
    {
        const MutexLock lock(settingsLock());
        if (!frameMayPass())
            return true;
        log_debug("Did checks.\n");
        passedAtUs = time_now_us();
        noteFrameSize(hostFrame);
        if (!makeInputMessage(hostFrame, passedAtUs))
            return false;
    }
    manager.sendInput(
        m_inputMessage, m_deviceNumber,
        [&] { m_frameClock.record(hostFrame.timestampUs, passedAtUs); });
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
    return m_parsedPipelines.wereThere();
}

// For who asks what shared memory the cameras need.
void DeviceAgent::noteFrameSize(const HostFrame& frame)
{
    const std::pair size(frame.width, frame.height);
    if (std::exchange(m_frameSize, size) != size)
        log_info(
            "Device %s sends frames of %dx%d\n", m_deviceId.c_str(), frame.width, frame.height);
}

// 1. Tell of an old frame.
// 2. Cut out the region of interest.
// 3. Encode all but the pixels. False, with the reason logged, when there is no message.
bool DeviceAgent::makeInputMessage(const HostFrame& frame, std::uint64_t passedAtUs)
{
    log_debug("Logged frame time.\n");
    if (static_cast<std::int64_t>(passedAtUs - frame.timestampUs) > kMaxFrameAgeUs)
    {
        log_warning(
            m_deviceId,
            "Warning! Frame age over 500ms. Time now:  %zu  Frame time: %zu Device: %s\n",
            static_cast<std::size_t>(passedAtUs), static_cast<std::size_t>(frame.timestampUs),
            m_deviceId.c_str());
    }
    const InputImage image = frame.image(m_settings.cropBox);
    if (image.width == 0 || image.height == 0)
    {
        log_warning(m_deviceId, "Error! Crop box too small!\n");
        return false;
    }
    log_debug("Creating raw image message...\n");
    const bool isMade = m_parsedPipelines.use(
        [&, settings = &m_settings](std::span<const char> pipelines)
        {
            return createInputMessage(
                image, {frame.timestampUs, m_deviceNumber, m_deviceId, m_deviceName}, *settings,
                pipelines, m_inputMessage);
        });
    if (!isMade)
        log_warning(m_deviceId, "Warning! Could not create image message.\n");
    return isMade;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
