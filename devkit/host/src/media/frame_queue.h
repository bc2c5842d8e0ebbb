#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <stop_token>

#include "media/picture.h"

namespace tavo::devkit
{

// What waits for a camera. One thread gives, one takes.
class FrameQueue
{
public:
    // Never waits: a camera that is behind loses its oldest picture. Tells whether it lost one.
    [[nodiscard]] bool offer(PicturePtr picture);

    // Waits until there is room or a stop is requested.
    void push(PicturePtr picture, std::stop_token stop);

    // Waits for a picture; null once a stop is requested.
    [[nodiscard]] PicturePtr take(std::stop_token stop);

private:
    // One in hand and one that waits: with more, a busy camera would show the past.
    static constexpr size_t kCapacity = 2;

private:
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::deque<PicturePtr> m_pictures;
};

} // namespace tavo::devkit
