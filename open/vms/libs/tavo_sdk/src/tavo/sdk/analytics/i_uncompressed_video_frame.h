// A decoded frame. Implemented by the host; never changes, so any thread may read it.
// Pixels live as long as the frame is held.
#pragma once

#include <tavo/sdk/analytics/i_data_packet.h>

namespace tavo::sdk::analytics
{

class IUncompressedVideoFrame : public Interface<IUncompressedVideoFrame, IDataPacket>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::analytics::IUncompressedVideoFrame1",
        "tavo::sdk::analytics::IUncompressedVideoFrame"};

    enum class PixelFormat : int32_t
    {
        yuv420 = 0,
        argb = 1,
        abgr = 2,
        rgba = 3,
        bgra = 4,
        rgb = 5, // one plane, 3 bytes a pixel
        bgr = 6,
    };

    // the order is the ABI: append only

    // Rows of a plane from top to bottom, lineSize(plane) bytes from one to the next. Null for a
    // plane that the format does not have.
    virtual const char* data(int plane) const = 0;
    virtual int width() const = 0;
    virtual int height() const = 0;
    virtual int lineSize(int plane) const = 0;
    virtual PixelFormat pixelFormat() const = 0;
    virtual int planeCount() const = 0;
    virtual int dataSize(int plane) const = 0; // in bytes
};

} // namespace tavo::sdk::analytics
