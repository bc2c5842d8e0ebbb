#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "common/options.h"
#include "media/video_feed.h"

namespace tavo::devkit
{

// The videos that cameras show: one feed for each source that any of them wants, so that a source
// is decoded once however many show it. Any thread.
class VideoFeeds
{
public:
    explicit VideoFeeds(std::optional<FrameSize> size);

    // The taker gets the source's pictures from now on. It is not owned and is detached before its
    // end.
    void attach(const std::string& source, PictureTaker& taker);

    // Waits until the taker is left alone: it must still be taking. A feed that nobody wants ends.
    void detach(const std::string& source, PictureTaker& taker);

    void goFast();

    // Of a source that nobody wants nothing is known.
    [[nodiscard]] VideoFeed::State state(const std::string& source) const;

private:
    const std::optional<FrameSize> m_size;
    mutable std::mutex m_mutex;
    std::map<std::string, std::unique_ptr<VideoFeed>> m_feeds;
    bool m_fast = false;
};

} // namespace tavo::devkit
