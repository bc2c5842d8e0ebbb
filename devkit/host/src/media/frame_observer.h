#pragma once

#include <cstdint>

#include "media/picture.h"
#include "metadata/metadata_sink.h"

namespace tavo::devkit
{

// Sees the frames that cameras push.
class FrameObserver
{
public:
    virtual ~FrameObserver() = default;

    // A frame is about to be pushed under this timestamp. Called on the camera's thread, which it
    // must not hold up.
    virtual void onFrame(
        const MetadataSink::Origin& camera, int64_t timestampUs, const PicturePtr& picture) = 0;
};

} // namespace tavo::devkit
