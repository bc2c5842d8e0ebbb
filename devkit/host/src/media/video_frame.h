#pragma once

#include <tavo/sdk/analytics/i_uncompressed_video_frame.h>
#include <tavo/sdk/helpers/ref_countable.h>

#include "media/picture.h"

namespace tavo::devkit
{

// A picture at a moment of one camera. Cameras share the picture; each has its own frame.
class VideoFrame : public sdk::RefCountable<sdk::analytics::IUncompressedVideoFrame>
{
public:
    VideoFrame(PicturePtr picture, int64_t timestampUs) :
        m_picture(std::move(picture)),
        m_timestampUs(timestampUs)
    {}

    // IDataPacket:
    int64_t timestampUs() const override { return m_timestampUs; }

    // IUncompressedVideoFrame:
    const char* data(int plane) const override
    {
        return plane == 0 ? reinterpret_cast<const char*>(m_picture->pixels.data()) : nullptr;
    }
    int width() const override { return m_picture->width; }
    int height() const override { return m_picture->height; }
    int lineSize(int plane) const override { return plane == 0 ? m_picture->lineSize() : 0; }
    PixelFormat pixelFormat() const override { return PixelFormat::rgb; }
    int planeCount() const override { return 1; }
    int dataSize(int plane) const override { return lineSize(plane) * m_picture->height; }

private:
    const PicturePtr m_picture;
    const int64_t m_timestampUs;
};

} // namespace tavo::devkit
