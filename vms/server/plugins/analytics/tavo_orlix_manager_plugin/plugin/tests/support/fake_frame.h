#pragma once

#include <atomic>
#include <cstdint>
#include <numeric>
#include <vector>

#include <tavo/sdk/analytics/i_uncompressed_video_frame.h>
#include <tavo/sdk/helpers/ref_countable.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A frame of 8 by 4 pixels whose bytes count up, in padded rows; knows how many of its kind live.
class FakeFrame : public sdk::RefCountable<sdk::analytics::IUncompressedVideoFrame>
{
public:
    FakeFrame()
    {
        std::iota(m_plane.begin(), m_plane.end(), 0);
        ++alive;
    }
    ~FakeFrame() override { --alive; }

    std::int64_t timestampUs() const override { return 12345; }
    const char* data(int) const override { return m_plane.data(); }
    int width() const override { return 8; }
    int height() const override { return 4; }
    int lineSize(int) const override { return 32; }
    PixelFormat pixelFormat() const override { return PixelFormat::rgb; }
    int planeCount() const override { return 1; }
    int dataSize(int) const override { return static_cast<int>(m_plane.size()); }

    static inline std::atomic<int> alive{0};

private:
    std::vector<char> m_plane = std::vector<char>(4 * 32);
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
