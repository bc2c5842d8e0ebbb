#include "camera.h"

#include "common/clock.h"
#include "media/video_frame.h"
#include "metadata/metadata.h"

namespace tavo::devkit
{

Camera::Camera(
    MetadataSink::Origin origin, sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent,
    CameraStatistics& statistics, std::vector<FrameObserver*> observers, Console& console) :
    m_origin(std::move(origin)),
    m_agent(std::move(agent)),
    m_statistics(statistics),
    m_observers(std::move(observers)),
    m_console(console)
{}

void Camera::start()
{
    m_thread = std::jthread([this](std::stop_token stop) { run(std::move(stop)); });
}

void Camera::stop()
{
    m_thread = {};
}

void Camera::offerPicture(PicturePtr picture)
{
    if (m_queue.offer(std::move(picture)))
        m_statistics.onFrameLost();
}

void Camera::pushPicture(PicturePtr picture, std::stop_token stop)
{
    m_queue.push(std::move(picture), std::move(stop));
}

void Camera::run(std::stop_token stop)
{
    while (PicturePtr picture = m_queue.take(stop))
        pushFrame(std::move(picture));
}

void Camera::pushFrame(PicturePtr picture)
{
    const int64_t timestampUs = m_clock.next(wallClockUs());
    for (FrameObserver* const observer : m_observers)
        observer->onFrame(m_origin, timestampUs, picture);
    const auto frame = sdk::makePtr<VideoFrame>(std::move(picture), timestampUs);
    sdk::Result<void> result;
    m_statistics.onFrameBegins(timestampUs);
    const int64_t beginUs = steadyClockUs();
    m_agent->doPushDataPacket(&result, frame.get());
    m_statistics.onFrameSent(result.isOk(), steadyClockUs() - beginUs);
    if (result.isOk())
        return;
    const std::string failure = takeText(result.errorMessage);
    if (failure == m_lastFailure)
        return;
    m_lastFailure = failure;
    m_console.line("camera " + std::to_string(m_origin.camera) + ": frame refused: " + failure);
}

} // namespace tavo::devkit
