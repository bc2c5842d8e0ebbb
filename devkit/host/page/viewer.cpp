#include "page/viewer.h"

#include <algorithm>
#include <utility>

#include "common/json.h"

namespace tavo::devkit
{

namespace
{

void appendLength(std::string* text, size_t length)
{
    for (int shift = 0; shift < 32; shift += 8)
        *text += char(uint32_t(length) >> shift & 0xff);
}

} // namespace

std::string streamMessage(std::string_view json, std::string_view bytes)
{
    std::string message;
    message.reserve(8 + json.size() + bytes.size());
    appendLength(&message, json.size());
    appendLength(&message, bytes.size());
    message += json;
    message += bytes;
    return message;
}

void Viewer::offer(Message message)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_entries.size() >= kMessages)
        {
            m_entries.pop_front();
            ++m_lost;
        }
        m_entries.push_back({{}, std::move(message)});
    }
    m_changed.notify_one();
}

void Viewer::offerPicture(const std::string& deviceId, Message message)
{
    {
        const std::lock_guard lock(m_mutex);
        const auto isSame = [&](const Entry& entry) { return entry.pictureOf == deviceId; };
        if (size_t(std::count_if(m_entries.begin(), m_entries.end(), isSame)) >=
            kPicturesOfOneDevice)
        {
            m_entries.erase(std::find_if(m_entries.begin(), m_entries.end(), isSame));
        }
        m_entries.push_back({deviceId, std::move(message)});
    }
    m_changed.notify_one();
}

Viewer::Message Viewer::take()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isClosed || m_lost > 0 || !m_entries.empty(); });
    if (m_isClosed)
        return nullptr;
    if (m_lost > 0)
    {
        JsonMaker message;
        message.add("kind", "lost").add("messages", std::exchange(m_lost, 0));
        return std::make_shared<const std::string>(streamMessage(message.text()));
    }
    Message message = std::move(m_entries.front().message);
    m_entries.pop_front();
    return message;
}

void Viewer::close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
    }
    m_changed.notify_all();
}

} // namespace tavo::devkit
