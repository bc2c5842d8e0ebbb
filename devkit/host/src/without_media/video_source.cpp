#include <stdexcept>

#include "common/shown_address.h"
#include "media/video_source.h"

namespace tavo::devkit
{

std::unique_ptr<VideoSource> openDecodedVideo(
    const std::string& url, std::optional<FrameSize>, std::stop_token)
{
    throw std::runtime_error(
        shownAddress(url) + ": this build has no decoder, only --video generated");
}

} // namespace tavo::devkit
