#include "engine/object_tracker.h"

#include <algorithm>
#include <random>

#include "engine/geometry.h"

namespace tavo::devkit
{
namespace
{

constexpr std::uint64_t kKeepUs = 3'000'000;

// Boxes that do not overlap may still be one object, if their centres are nearer than this part of
// the larger one's diagonal.
constexpr double kNearness = 0.5;

ObjectId newId()
{
    thread_local std::mt19937_64 random{std::random_device()()};
    ObjectId id;
    for (char& byte : id)
        byte = static_cast<char>(random());
    // The marks of a random UUID.
    id[6] = static_cast<char>((id[6] & 0x0F) | 0x40);
    id[8] = static_cast<char>((id[8] & 0x3F) | 0x80);
    return id;
}

double diagonalOf(const Box& box)
{
    return lengthOf({box.width, box.height});
}

// How well they fit: above 1 where boxes overlap, else up to 1 for centres that are near, or 0.
double fitOf(const Box& a, const Box& b)
{
    if (const float overlap = overlapOf(a, b); overlap > 0)
        return 1 + overlap;
    const double reach = kNearness * std::max(diagonalOf(a), diagonalOf(b));
    return reach > 0 ? std::max(0.0, 1 - lengthOf(a.centre() - b.centre()) / reach) : 0;
}

struct Pair
{
    double fit;
    std::size_t track;
    std::size_t object;
};

} // namespace

std::vector<Track*> ObjectTracker::update(
    const std::vector<SeenObject>& objects, std::uint64_t timestampUs)
{
    if (timestampUs < m_lastUs)
        m_tracks.clear();
    m_lastUs = timestampUs;
    std::erase_if(
        m_tracks, [&](const auto& track) { return timestampUs - track->lastSeenUs > kKeepUs; });

    std::vector<Pair> pairs;
    for (std::size_t track = 0; track < m_tracks.size(); ++track)
    {
        for (std::size_t object = 0; object < objects.size(); ++object)
        {
            if (m_tracks[track]->className != objects[object].className)
                continue;
            if (const double fit = fitOf(m_tracks[track]->box, objects[object].box); fit > 0)
                pairs.push_back({fit, track, object});
        }
    }
    std::stable_sort(
        pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.fit > b.fit; });

    std::vector<Track*> found(objects.size(), nullptr);
    std::vector<bool> isTaken(m_tracks.size(), false);
    for (const Pair& pair : pairs)
    {
        if (found[pair.object] || isTaken[pair.track])
            continue;
        isTaken[pair.track] = true;
        found[pair.object] = m_tracks[pair.track].get();
    }
    for (std::size_t object = 0; object < objects.size(); ++object)
    {
        if (!found[object])
        {
            auto track = std::make_unique<Track>();
            track->id = newId();
            track->className = objects[object].className;
            track->firstSeenUs = timestampUs;
            found[object] = m_tracks.emplace_back(std::move(track)).get();
        }
        found[object]->box = objects[object].box;
        found[object]->lastSeenUs = timestampUs;
    }
    return found;
}

} // namespace tavo::devkit
