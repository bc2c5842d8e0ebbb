#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace tavo::devkit
{

// A decoded picture: RGB, 3 bytes a pixel, rows packed without padding. Shared by all cameras, so
// it never changes once it has left the decoder.
struct Picture
{
    int width = 0;
    int height = 0;
    int64_t mediaUs = 0; // its place in the video, never going back
    std::vector<uint8_t> pixels; // a little longer than the rows: the converter writes in blocks

    [[nodiscard]] int lineSize() const { return width * 3; }
};

using PicturePtr = std::shared_ptr<const Picture>;

// Gives pictures out of those that nobody holds any more, so that a steady stream allocates nothing
// of a picture's size. Any thread. Pictures may outlive the pool.
class PicturePool
{
public:
    // The pixels are whatever was there before.
    [[nodiscard]] std::shared_ptr<Picture> take(int width, int height);

private:
    struct Shelf
    {
        std::mutex mutex;
        std::vector<std::unique_ptr<Picture>> pictures;
    };

private:
    std::shared_ptr<Shelf> m_shelf = std::make_shared<Shelf>();
};

} // namespace tavo::devkit
