#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "common/options.h"
#include "media/picture.h"

namespace tavo::devkit
{

// A row of pictures. One thread at a time.
class VideoSource
{
public:
    virtual ~VideoSource() = default;

    // The next picture, nobody else's yet. Its place is counted from the beginning of the stream
    // and is negative when the stream does not say. Null at the end of the stream, after a failure
    // that ends it, and once a stop is requested.
    [[nodiscard]] virtual std::shared_ptr<Picture> next() = 0;

    // How long a picture shows, as far as the stream says; else the 25th part of a second.
    [[nodiscard]] virtual int64_t pictureDurationUs() const = 0;
};

// The URL of pictures that nobody filmed: a light square walks over a dark ground, for a round of
// ten seconds.
inline constexpr char kGeneratedVideo[] = "generated";

// The pictures behind the URL: generated ones, or the first video stream of a file or address.
// `size` scales every picture. A request to stop ends every wait, opening included.
// Throws std::runtime_error with the reason when there is no video to be had.
[[nodiscard]] std::unique_ptr<VideoSource> openVideo(
    const std::string& url, std::optional<FrameSize> size, std::stop_token stop);

// Whether it is the file of a camera of this machine.
[[nodiscard]] bool isMachineCamera(const std::string& url);

// Whether the URL is something that goes on by itself, so that its end is a loss and not an end.
[[nodiscard]] bool isLive(const std::string& url);

// Two sources of pictures, for openVideo. What is decoded needs a build with libav.
[[nodiscard]] std::unique_ptr<VideoSource> openDecodedVideo(
    const std::string& url, std::optional<FrameSize> size, std::stop_token stop);
[[nodiscard]] std::unique_ptr<VideoSource> makeGeneratedVideo(FrameSize size, std::stop_token stop);

} // namespace tavo::devkit
