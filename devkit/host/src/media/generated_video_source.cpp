#include <algorithm>

#include "media/video_source.h"

namespace tavo::devkit
{

namespace
{

constexpr int64_t kPictureUs = 40'000;
constexpr int kPictures = 250;
constexpr uint8_t kGround = 20; // grey levels
constexpr uint8_t kSquare = 230;

class GeneratedVideoSource : public VideoSource
{
public:
    GeneratedVideoSource(FrameSize size, std::stop_token stop) :
        m_size(size),
        m_stop(std::move(stop))
    {}

    std::shared_ptr<Picture> next() override
    {
        if (m_index == kPictures || m_stop.stop_requested())
            return nullptr;
        std::shared_ptr<Picture> picture = m_pool.take(m_size.width, m_size.height);
        picture->mediaUs = m_index * kPictureUs;
        draw(*picture);
        ++m_index;
        return picture;
    }

    int64_t pictureDurationUs() const override { return kPictureUs; }

private:
    // The square is a quarter of the picture high and crosses it once in a round.
    void draw(Picture& picture) const
    {
        std::fill(picture.pixels.begin(), picture.pixels.end(), kGround);
        const int side = std::min(m_size.width, std::max(1, m_size.height / 4));
        const int left = (m_size.width - side) * m_index / kPictures;
        const int top = (m_size.height - side) / 2;
        for (int y = std::max(0, top); y < std::min(m_size.height, top + side); ++y)
        {
            const auto start = picture.pixels.begin() + std::ptrdiff_t(y) * picture.lineSize() +
                std::ptrdiff_t(left) * 3;
            std::fill(start, start + std::ptrdiff_t(side) * 3, kSquare);
        }
    }

private:
    const FrameSize m_size;
    const std::stop_token m_stop;
    PicturePool m_pool;
    int m_index = 0;
};

} // namespace

std::unique_ptr<VideoSource> makeGeneratedVideo(FrameSize size, std::stop_token stop)
{
    return std::make_unique<GeneratedVideoSource>(size, std::move(stop));
}

} // namespace tavo::devkit
