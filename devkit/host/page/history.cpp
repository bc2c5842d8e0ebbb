#include "page/history.h"

namespace tavo::devkit
{

namespace
{

constexpr size_t kLineBytes = 32 << 20;
constexpr size_t kPictureBytes = 64 << 20;

size_t sizeOf(const History::Line& line)
{
    return line.text.size();
}

size_t sizeOf(const History::Picture& picture)
{
    return picture.jpeg->size();
}

template <class Item>
void keep(std::deque<Item>* items, size_t* bytes, size_t bytesAtMost, int64_t keptUs, Item item)
{
    const int64_t oldestUs = item.timestampUs - keptUs;
    *bytes += sizeOf(item);
    items->push_back(std::move(item));
    while (*bytes > bytesAtMost || items->front().timestampUs < oldestUs)
    {
        *bytes -= sizeOf(items->front());
        items->pop_front();
    }
}

template <class Item>
std::vector<Item> within(const std::deque<Item>& items, TimeSpan span)
{
    std::vector<Item> found;
    for (const Item& item : items)
    {
        if (span.holds(item.timestampUs))
            found.push_back(item);
    }
    return found;
}

} // namespace

void History::keepLine(const std::string& deviceId, Line line)
{
    const std::lock_guard lock(m_mutex);
    Kept& kept = m_byDevice[deviceId];
    keep(&kept.lines, &kept.lineBytes, kLineBytes, m_keptUs, std::move(line));
}

void History::keepPicture(const std::string& deviceId, Picture picture)
{
    const std::lock_guard lock(m_mutex);
    Kept& kept = m_byDevice[deviceId];
    keep(&kept.pictures, &kept.pictureBytes, kPictureBytes, m_keptUs, std::move(picture));
}

std::vector<History::Line> History::lines(const std::string& deviceId, TimeSpan span) const
{
    const std::lock_guard lock(m_mutex);
    const auto kept = m_byDevice.find(deviceId);
    return kept == m_byDevice.end() ? std::vector<Line>() : within(kept->second.lines, span);
}

std::vector<History::Picture> History::pictures(const std::string& deviceId, TimeSpan span) const
{
    const std::lock_guard lock(m_mutex);
    const auto kept = m_byDevice.find(deviceId);
    return kept == m_byDevice.end() ? std::vector<Picture>() : within(kept->second.pictures, span);
}

void History::forget(const std::string& deviceId)
{
    const std::lock_guard lock(m_mutex);
    m_byDevice.erase(deviceId);
}

} // namespace tavo::devkit
