#include "media/video_feed.h"

#include <stdexcept>

#include "common/clock.h"
#include "common/shown_address.h"
#include "media/video_source.h"

namespace tavo::devkit
{

VideoFeed::VideoFeed(std::string url, std::optional<FrameSize> size) :
    m_url(std::move(url)),
    m_size(size)
{}

void VideoFeed::addTaker(PictureTaker& taker)
{
    const std::lock_guard lock(m_takersMutex);
    m_takers.push_back(&taker);
}

size_t VideoFeed::removeTaker(PictureTaker& taker)
{
    const std::lock_guard lock(m_takersMutex);
    std::erase(m_takers, &taker);
    return m_takers.size();
}

void VideoFeed::start()
{
    m_thread = std::jthread([this](std::stop_token stop) { run(std::move(stop)); });
}

void VideoFeed::stop()
{
    m_thread = {};
}

VideoFeed::State VideoFeed::state() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_state;
}

void VideoFeed::run(std::stop_token stop)
{
    constexpr int64_t kReopenPauseUs = 1'000'000;
    while (!stop.stop_requested())
    {
        std::string reason = shownAddress(m_url) + ": there is no picture in it";
        bool played = false;
        try
        {
            played = playRound(stop);
        }
        catch (const std::runtime_error& error)
        {
            reason = error.what();
        }
        if (stop.stop_requested())
            return;
        if (isLive(m_url))
        {
            setState({std::move(reason), /*hasEnded*/ false});
            if (!sleepUntilUs(steadyClockUs() + kReopenPauseUs, stop))
                return;
        }
        else if (!played)
        {
            return setState({std::move(reason), /*hasEnded*/ true});
        }
    }
}

// Plays the video from its beginning to its end. Tells whether there was a picture.
bool VideoFeed::playRound(std::stop_token stop)
{
    const std::unique_ptr<VideoSource> source = openVideo(m_url, m_size, stop);
    m_mediaClock.beginRound();
    bool played = false;
    while (const std::shared_ptr<Picture> picture = source->next())
    {
        if (!played)
            setState({});
        played = true;
        picture->mediaUs = m_mediaClock.next(picture->mediaUs, source->pictureDurationUs());
        if (!m_fast)
        {
            const int64_t dueUs = m_pacer.dueUs(picture->mediaUs, steadyClockUs());
            if (!sleepUntilUs(dueUs, stop))
                break;
        }
        publish(picture, stop);
    }
    return played;
}

void VideoFeed::publish(const PicturePtr& picture, std::stop_token stop)
{
    const bool fast = m_fast;
    const std::lock_guard lock(m_takersMutex);
    for (PictureTaker* const taker : m_takers)
    {
        if (fast)
            taker->pushPicture(picture, stop);
        else
            taker->offerPicture(picture);
    }
}

void VideoFeed::setState(State state)
{
    const std::lock_guard lock(m_stateMutex);
    m_state = std::move(state);
}

} // namespace tavo::devkit
