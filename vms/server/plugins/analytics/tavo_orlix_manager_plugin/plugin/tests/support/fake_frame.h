#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <numeric>
#include <vector>

#include <tavo/sdk/analytics/i_uncompressed_video_frame.h>
#include <tavo/sdk/helpers/ref_countable.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A frame of 8 by 4 pixels whose bytes count up, in padded rows but for the last, or as a host at
// odds with itself hands it out; knows how many of its kind live.
class FakeFrame : public sdk::RefCountable<sdk::analytics::IUncompressedVideoFrame>
{
public:
    explicit FakeFrame(const std::function<void(FakeFrame&)>& change = [](FakeFrame&) {})
    {
        std::iota(m_plane.begin(), m_plane.end(), 0);
        change(*this);
        ++alive;
    }
    ~FakeFrame() override { --alive; }

    std::int64_t timestampUs() const override { return timeUs; }
    const char* data(int) const override { return isMapped ? m_plane.data() : nullptr; }
    int width() const override { return columns; }
    int height() const override { return rows; }
    int lineSize(int) const override { return rowSize; }
    PixelFormat pixelFormat() const override { return format; }
    int planeCount() const override { return 1; }
    int dataSize(int) const override { return size; }

    PixelFormat format = PixelFormat::rgb;
    bool isMapped = true;
    std::int64_t timeUs = 12345;
    int columns = 8, rows = 4, rowSize = 32, size = 3 * 32 + 24;

    static inline std::atomic<int> alive{0};

private:
    std::vector<char> m_plane = std::vector<char>(4 * 32);
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
