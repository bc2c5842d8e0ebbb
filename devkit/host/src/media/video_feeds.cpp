#include "media/video_feeds.h"

namespace tavo::devkit
{

VideoFeeds::VideoFeeds(std::optional<FrameSize> size) :
    m_size(size)
{}

void VideoFeeds::attach(const std::string& source, PictureTaker& taker)
{
    const std::lock_guard lock(m_mutex);
    std::unique_ptr<VideoFeed>& feed = m_feeds[source];
    const bool isNew = !feed;
    if (isNew)
        feed = std::make_unique<VideoFeed>(source, m_size);
    feed->addTaker(taker);
    if (m_fast)
        feed->goFast();
    if (isNew)
        feed->start();
}

void VideoFeeds::detach(const std::string& source, PictureTaker& taker)
{
    std::unique_ptr<VideoFeed> unwanted; // ends without the lock
    const std::lock_guard lock(m_mutex);
    const auto feed = m_feeds.find(source);
    if (feed == m_feeds.end() || feed->second->removeTaker(taker) > 0)
        return;
    unwanted = std::move(feed->second);
    m_feeds.erase(feed);
}

void VideoFeeds::goFast()
{
    const std::lock_guard lock(m_mutex);
    m_fast = true;
    for (const auto& [source, feed] : m_feeds)
        feed->goFast();
}

VideoFeed::State VideoFeeds::state(const std::string& source) const
{
    const std::lock_guard lock(m_mutex);
    const auto feed = m_feeds.find(source);
    return feed == m_feeds.end() ? VideoFeed::State() : feed->second->state();
}

} // namespace tavo::devkit
