#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "common/options.h"
#include "media/pacing.h"
#include "media/picture.h"

namespace tavo::devkit
{

// What a feed gives its pictures to. Called on the feed's thread.
class PictureTaker
{
public:
    virtual ~PictureTaker() = default;

    // Takes the picture or leaves it, but does not wait.
    virtual void offerPicture(PicturePtr picture) = 0;

    // Waits until it can take the picture or a stop is requested.
    virtual void pushPicture(PicturePtr picture, std::stop_token stop) = 0;
};

// Decodes a video once, over and over, for all its takers, on a thread of its own. A live URL that
// ends is opened again.
class VideoFeed
{
public:
    struct State
    {
        std::string trouble; // why there are no pictures; empty while there are
        bool hasEnded = false; // and there will be none
    };

    VideoFeed(std::string url, std::optional<FrameSize> size);

    // The taker is not owned and is removed before its end. Any thread.
    void addTaker(PictureTaker& taker);

    // Waits until a picture that the taker is being given is taken. Gives how many takers are left.
    // Any thread but the feed's.
    size_t removeTaker(PictureTaker& taker);

    void start();

    // From now on as fast as all takers take, instead of at the video's pace. Any thread.
    void goFast() { m_fast = true; }

    // Ends the thread and waits for it. Does nothing when it has ended.
    void stop();

    // Any thread.
    [[nodiscard]] State state() const;

private:
    void run(std::stop_token stop);
    [[nodiscard]] bool playRound(std::stop_token stop);
    void publish(const PicturePtr& picture, std::stop_token stop);
    void setState(State state);

private:
    const std::string m_url;
    const std::optional<FrameSize> m_size;
    std::mutex m_takersMutex;
    std::vector<PictureTaker*> m_takers;
    MediaClock m_mediaClock; // the thread's alone, like the next
    FramePacer m_pacer;
    std::atomic<bool> m_fast = false;
    mutable std::mutex m_stateMutex;
    State m_state;
    std::jthread m_thread; // last: it uses all of the above
};

} // namespace tavo::devkit
