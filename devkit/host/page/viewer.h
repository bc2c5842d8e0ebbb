#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace tavo::devkit
{

enum class PictureSize
{
    small, // for one of many on a page
    large,
};

// What a page wants to be sent. Everything but pictures comes to all.
struct ViewerWish
{
    std::optional<PictureSize> pictures; // nothing: none
    std::set<std::string> devices; // whose pictures; empty: everybody's

    [[nodiscard]] bool wants(const std::string& deviceId) const
    {
        return pictures && (devices.empty() || devices.contains(deviceId));
    }
};

// One message of a page's stream: two lengths of 32 bits, low byte first, then a JSON text of the
// first length and, with a picture, as many bytes as the second says.
[[nodiscard]] std::string streamMessage(std::string_view json, std::string_view bytes = {});

// What waits for one page. A page that is slow loses its oldest pictures first, and is told how
// many messages it has lost otherwise. Any thread.
class Viewer
{
public:
    using Message = std::shared_ptr<const std::string>;

    explicit Viewer(ViewerWish wish) :
        m_wish(std::move(wish))
    {}

    [[nodiscard]] const ViewerWish& wish() const { return m_wish; }

    // Neither waits.
    void offer(Message message);
    void offerPicture(const std::string& deviceId, Message message);

    // Waits for a message; null once the viewer is closed.
    [[nodiscard]] Message take();

    void close();

private:
    struct Entry
    {
        std::string pictureOf; // empty: no picture
        Message message;
    };

    static constexpr size_t kPicturesOfOneDevice = 4;
    static constexpr size_t kMessages = 2000;

private:
    const ViewerWish m_wish;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Entry> m_entries;
    uint64_t m_lost = 0;
    bool m_isClosed = false;
};

} // namespace tavo::devkit
