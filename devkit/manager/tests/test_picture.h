#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/shapes.h"

namespace tavo::devkit
{

// A picture to be drawn in. Colours are grey levels.
class TestPicture
{
public:
    explicit TestPicture(Size size, std::uint8_t grey = 0) :
        m_size(size),
        m_pixels(std::size_t(size.area()) * 3, grey)
    {}

    // The box lies within the picture, on whole pixels.
    void fill(const Box& box, std::uint8_t grey)
    {
        for (int y = int(box.y); y < int(box.bottom()); ++y)
        {
            const auto row = m_pixels.begin() + std::ptrdiff_t(y) * m_size.width * 3;
            std::fill(row + int(box.x) * 3, row + int(box.right()) * 3, grey);
        }
    }

    // Valid as long as this picture.
    [[nodiscard]] RgbImage image() const { return {m_pixels.data(), m_size}; }

    [[nodiscard]] const std::vector<std::uint8_t>& pixels() const { return m_pixels; }

private:
    Size m_size;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace tavo::devkit
