#include <opencv2/imgproc.hpp>

#include "detectors/coco_classes.h"
#include "detectors/hog_people.h"
#include "detectors/nanodet.h"
#include "engine/detector.h"

namespace tavo::devkit
{
namespace
{

// For the detectors of files that know pictures in this order. `bgr` is kept from frame to frame.
const cv::Mat& toBgr(const RgbImage& rgb, cv::Mat& bgr)
{
    const cv::Mat view(
        rgb.size.height, rgb.size.width, CV_8UC3, const_cast<std::uint8_t*>(rgb.pixels));
    cv::cvtColor(view, bgr, cv::COLOR_RGB2BGR);
    return bgr;
}

class HogDetector : public Detector
{
public:
    std::vector<Detection> detect(const RgbImage& rgb, std::uint64_t) override
    {
        return m_people.detect(toBgr(rgb, m_bgr));
    }
    std::string_view className(int) const override { return kCocoClasses[kPersonClass]; }

private:
    HogPeople m_people;
    cv::Mat m_bgr;
};

class NanoDetDetector : public Detector
{
public:
    explicit NanoDetDetector(const std::filesystem::path& model) :
        m_net(model, {0.45f, 1.0f})
    {}

    std::vector<Detection> detect(const RgbImage& rgb, std::uint64_t) override
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

} // namespace

std::unique_ptr<Detector> makeHogDetector()
{
    return std::make_unique<HogDetector>();
}

std::unique_ptr<Detector> makeNanoDetDetector(const std::filesystem::path& model)
{
    return std::make_unique<NanoDetDetector>(model);
}

} // namespace tavo::devkit
