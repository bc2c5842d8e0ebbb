#include "media/video_source.h"

namespace tavo::devkit
{

std::unique_ptr<VideoSource> openVideo(
    const std::string& url, std::optional<FrameSize> size, std::stop_token stop)
{
    constexpr FrameSize kGeneratedSize{320, 240};
    if (url == kGeneratedVideo)
        return makeGeneratedVideo(size.value_or(kGeneratedSize), std::move(stop));
    return openDecodedVideo(url, size, std::move(stop));
}

bool isMachineCamera(const std::string& url)
{
    return url.starts_with("/dev/video");
}

bool isLive(const std::string& url)
{
    return isMachineCamera(url) ||
        (url.find("://") != std::string::npos && !url.starts_with("file:"));
}

} // namespace tavo::devkit
