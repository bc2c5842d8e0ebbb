#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "options.h"
#include "picture.h"

namespace tavo::devkit
{

// Decodes the first video stream of a file or URL to pictures. One thread at a time.
class VideoSource
{
public:
    // `size` scales every picture. A request to stop ends every wait, opening included.
    // Throws std::runtime_error with the reason when there is no video to be had.
    VideoSource(const std::string& url, std::optional<FrameSize> size, std::stop_token stop);
    ~VideoSource();

    // The next picture, nobody else's yet. Its place is counted from the beginning of the stream
    // and is negative when the stream does not say. Null at the end of the stream, after a failure
    // that ends it, and once a stop is requested.
    [[nodiscard]] std::shared_ptr<Picture> next();

    // How long a picture shows, as far as the stream says; else the 25th part of a second.
    [[nodiscard]] int64_t pictureDurationUs() const;

private:
    struct Stream;
    std::unique_ptr<Stream> m_stream;
};

// Whether the URL is something that goes on by itself, so that its end is a loss and not an end.
[[nodiscard]] bool isLive(const std::string& url);

} // namespace tavo::devkit
