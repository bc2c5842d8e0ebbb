#include "media/frame_queue.h"

namespace tavo::devkit
{

bool FrameQueue::offer(PicturePtr picture)
{
    bool lost = false;
    {
        const std::lock_guard lock(m_mutex);
        lost = m_pictures.size() >= kCapacity;
        if (lost)
            m_pictures.pop_front();
        m_pictures.push_back(std::move(picture));
    }
    m_changed.notify_all();
    return lost;
}

void FrameQueue::push(PicturePtr picture, std::stop_token stop)
{
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait(lock, stop, [this] { return m_pictures.size() < kCapacity; }))
            return;
        m_pictures.push_back(std::move(picture));
    }
    m_changed.notify_all();
}

PicturePtr FrameQueue::take(std::stop_token stop)
{
    PicturePtr picture;
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait(lock, stop, [this] { return !m_pictures.empty(); }) ||
            stop.stop_requested())
        {
            return nullptr;
        }
        picture = std::move(m_pictures.front());
        m_pictures.pop_front();
    }
    m_changed.notify_all();
    return picture;
}

} // namespace tavo::devkit
