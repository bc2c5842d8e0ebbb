#include <unordered_map>

#include "engine/detector.h"
#include "engine/scene_background.h"

namespace tavo::devkit
{
namespace
{

class MotionDetector : public Detector
{
public:
    std::vector<Detection> detect(const RgbImage& rgb, std::uint64_t inputIndex) override
    {
        // Inputs are cameras; more than these are the invention of a broken sender.
        if (m_backgrounds.size() == kMaxInputs && !m_backgrounds.contains(inputIndex))
            m_backgrounds.clear();
        const auto [entry, isNew] = m_backgrounds.try_emplace(inputIndex, kLearning);
        std::vector<Detection> found;
        for (const Box& box : entry->second.differences(rgb))
            found.push_back({0, 1, box});
        return found;
    }
    std::string_view className(int) const override { return "motion"; }

private:
    // What has stopped is background after some twenty frames.
    static constexpr SceneBackground::Learning kLearning{0.05f, 0.05f};
    static constexpr std::size_t kMaxInputs = 1024;

    std::unordered_map<std::uint64_t, SceneBackground> m_backgrounds;
};

} // namespace

std::unique_ptr<Detector> makeMotionDetector()
{
    return std::make_unique<MotionDetector>();
}

} // namespace tavo::devkit
