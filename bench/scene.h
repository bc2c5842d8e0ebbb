#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "device_agent/objects/tracked_object.h"

namespace tavo::bench
{

inline constexpr std::size_t kDetections = 50;
inline constexpr std::size_t kTracks = 100;
inline constexpr std::uint64_t kNowUs = 1'700'000'000'000'000;
inline constexpr char kClass[] = "person";

using vms_server_plugins::analytics::orlix::ResultBox;
using vms_server_plugins::analytics::orlix::TrackedObject;

enum SceneKind
{
    street, // a box overlaps one or two others
    crowd, // a box overlaps a good part of the rest
};

// The boxes of 100 tracks, and of a result in which the first 50 of them have moved a little.
class Scene
{
public:
    explicit Scene(SceneKind kind)
    {
        const float width = kind == street ? 70.0f : 420.0f;
        const float height = kind == street ? 160.0f : 420.0f;
        std::uniform_real_distribution<float> x(0, 1920 - width);
        std::uniform_real_distribution<float> y(0, 1080 - height);
        for (std::size_t i = 0; i < kTracks; ++i)
        {
            const float left = x(m_random);
            const float top = y(m_random);
            m_tracks.push_back(
                object({left, top, left + width, top + height}, kNowUs - 40'000 * (1 + i % 25)));
        }
    }

    [[nodiscard]] const std::vector<TrackedObject>& tracks() const { return m_tracks; }

    [[nodiscard]] std::vector<TrackedObject> detections()
    {
        std::uniform_real_distribution<float> shift(-6, 6);
        std::vector<TrackedObject> detections;
        for (std::size_t i = 0; i < kDetections; ++i)
        {
            ResultBox box = m_tracks[i].box;
            const float dx = shift(m_random);
            const float dy = shift(m_random);
            box = {box.x1 + dx, box.y1 + dy, box.x2 + dx, box.y2 + dy};
            detections.push_back(object(box, kNowUs));
        }
        return detections;
    }

private:
    static TrackedObject object(const ResultBox& box, std::uint64_t timestampUs)
    {
        TrackedObject object;
        object.box = box;
        object.className = kClass;
        object.timestampUs = timestampUs;
        return object;
    }

    std::mt19937 m_random{7};
    std::vector<TrackedObject> m_tracks;
};

// `count` objects in one picture, none larger than `width` by `height`.
[[nodiscard]] std::vector<TrackedObject> scatteredObjects(
    std::size_t count, float width, float height, std::uint64_t timestampUs);

// A result message of one class, with or without ids for its objects.
[[nodiscard]] std::string encodedResult(
    const std::vector<TrackedObject>& objects, std::uint64_t timestampUs, bool withIds);

} // namespace tavo::bench
