#include "engine/detector.h"

#include <unordered_map>

#include <opencv2/imgproc.hpp>

#include "detectors/coco_classes.h"
#include "detectors/hog_people.h"
#include "detectors/nanodet.h"
#include "engine/scene_background.h"

namespace tavo::devkit
{
namespace
{

// For the detectors of files that know pictures in this order.
const cv::Mat& toBgr(const cv::Mat& rgb, cv::Mat& bgr)
{
    cv::cvtColor(rgb, bgr, cv::COLOR_RGB2BGR);
    return bgr;
}

class HogDetector : public Detector
{
public:
    std::vector<Detection> detect(const cv::Mat& rgb, std::uint64_t) override
    {
        return m_people.detect(toBgr(rgb, m_bgr));
    }
    std::string_view className(int) const override { return kCocoClasses[kPersonClass]; }

private:
    HogPeople m_people;
    cv::Mat m_bgr; // kept from frame to frame
};

class NanoDetDetector : public Detector
{
public:
    explicit NanoDetDetector(const std::filesystem::path& model) :
        m_net(model, {0.45f, 1.0f})
    {}

    std::vector<Detection> detect(const cv::Mat& rgb, std::uint64_t) override
    {
        return m_net.detect(toBgr(rgb, m_bgr));
    }
    std::string_view className(int classIndex) const override
    {
        return kCocoClasses[static_cast<std::size_t>(classIndex)];
    }

private:
    NanoDet m_net; // keeps every box: the overlap allowed is the pipeline's
    cv::Mat m_bgr;
};

class MotionDetector : public Detector
{
public:
    std::vector<Detection> detect(const cv::Mat& rgb, std::uint64_t inputIndex) override
    {
        // Inputs are cameras; more than these are the invention of a broken sender.
        if (m_backgrounds.size() == kMaxInputs && !m_backgrounds.contains(inputIndex))
            m_backgrounds.clear();
        const auto [entry, isNew] = m_backgrounds.try_emplace(inputIndex, kLearning);
        std::vector<Detection> found;
        for (const cv::Rect2f& box : entry->second.differences(rgb))
            found.push_back({0, 1, box});
        return found;
    }
    std::string_view className(int) const override { return "motion"; }

private:
    // What has stopped is background after some twenty frames.
    static constexpr SceneBackground::Learning kLearning{0.05, 0.05};
    static constexpr std::size_t kMaxInputs = 1024;

    std::unordered_map<std::uint64_t, SceneBackground> m_backgrounds;
};

} // namespace

std::unique_ptr<Detector> makeHogDetector()
{
    return std::make_unique<HogDetector>();
}

std::unique_ptr<Detector> makeNanoDetDetector(const std::filesystem::path& model)
{
    return std::make_unique<NanoDetDetector>(model);
}

std::unique_ptr<Detector> makeMotionDetector()
{
    return std::make_unique<MotionDetector>();
}

} // namespace tavo::devkit
