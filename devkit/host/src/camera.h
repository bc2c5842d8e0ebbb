#pragma once

#include <string>
#include <thread>
#include <vector>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/ptr.h>

#include "common/console.h"
#include "media/frame_observer.h"
#include "media/frame_queue.h"
#include "media/pacing.h"
#include "media/video_feed.h"
#include "metadata/statistics.h"

namespace tavo::devkit
{

// One camera: takes the feed's pictures and pushes them to the device agent as its own frames, on a
// thread of its own.
class Camera : public PictureTaker
{
public:
    // `statistics`, the observers and `console` are not owned and outlive the camera.
    Camera(
        MetadataSink::Origin origin, sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent,
        CameraStatistics& statistics, std::vector<FrameObserver*> observers, Console& console);

    void start();

    // Ends the thread and waits for it: no frame is pushed any more.
    void stop();

    // PictureTaker:
    void offerPicture(PicturePtr picture) override;
    void pushPicture(PicturePtr picture, std::stop_token stop) override;

private:
    void run(std::stop_token stop);
    void pushFrame(PicturePtr picture);

private:
    const MetadataSink::Origin m_origin;
    const sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> m_agent;
    CameraStatistics& m_statistics;
    const std::vector<FrameObserver*> m_observers;
    Console& m_console;
    FrameQueue m_queue;
    StrictClock m_clock; // the thread's alone, like the next
    std::string m_lastFailure;
    std::jthread m_thread; // last: it uses all of the above
};

} // namespace tavo::devkit
