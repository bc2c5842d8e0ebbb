#include "media/picture.h"

namespace tavo::devkit
{

namespace
{

constexpr size_t kPadding = 64;
constexpr size_t kKeptAtMost = 32;

} // namespace

std::shared_ptr<Picture> PicturePool::take(int width, int height)
{
    std::unique_ptr<Picture> picture;
    {
        const std::lock_guard lock(m_shelf->mutex);
        if (!m_shelf->pictures.empty())
        {
            picture = std::move(m_shelf->pictures.back());
            m_shelf->pictures.pop_back();
        }
    }
    if (!picture)
        picture = std::make_unique<Picture>();
    picture->width = width;
    picture->height = height;
    picture->pixels.resize(size_t(width) * size_t(height) * 3 + kPadding);

    return {
        picture.release(),
        [shelf = m_shelf](Picture* used)
        {
            std::unique_ptr<Picture> owner(used);
            const std::lock_guard lock(shelf->mutex);
            if (shelf->pictures.size() < kKeptAtMost)
                shelf->pictures.push_back(std::move(owner));
        }};
}

} // namespace tavo::devkit
