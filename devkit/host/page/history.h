#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tavo::devkit
{

// A time span of a camera, in its frames' timestamps; both ends belong to it.
struct TimeSpan
{
    int64_t fromUs = 0;
    int64_t toUs = 0;

    [[nodiscard]] bool holds(int64_t timeUs) const { return fromUs <= timeUs && timeUs <= toUs; }
};

// The last time of each camera: all its metadata, and those pictures that were made for somebody
// anyway. Bounded in time and in bytes. Any thread.
class History
{
public:
    struct Picture
    {
        int64_t timestampUs = 0;
        std::shared_ptr<const std::string> jpeg;
    };

    struct Line
    {
        int64_t timestampUs = 0;
        std::string text; // a JSON object
    };

    explicit History(std::chrono::seconds kept) :
        m_keptUs(std::chrono::microseconds(kept).count())
    {}

    void keepLine(const std::string& deviceId, Line line);
    void keepPicture(const std::string& deviceId, Picture picture);

    // In the order in which they came.
    [[nodiscard]] std::vector<Line> lines(const std::string& deviceId, TimeSpan span) const;
    [[nodiscard]] std::vector<Picture> pictures(const std::string& deviceId, TimeSpan span) const;

    void forget(const std::string& deviceId);

private:
    struct Kept
    {
        std::deque<Line> lines;
        size_t lineBytes = 0;
        std::deque<Picture> pictures;
        size_t pictureBytes = 0;
    };

private:
    const int64_t m_keptUs;
    mutable std::mutex m_mutex;
    std::map<std::string, Kept> m_byDevice;
};

} // namespace tavo::devkit
