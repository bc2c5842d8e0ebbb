#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "engine/frame_analyser.h"

namespace tavo::devkit
{
namespace
{

using Counts = std::map<std::string, std::uint64_t>;

// A square that moves through the picture, found by what moves.
class FrameAnalyserTest : public testing::Test
{
protected:
    FrameAnalyserTest() { (void)see(-1000); } // the empty scene

    Result see(int x)
    {
        m_frame.rgb = cv::Mat(240, 320, CV_8UC3, cv::Scalar(90, 80, 70));
        cv::rectangle(m_frame.rgb, {x, 100, 40, 40}, {250, 250, 250}, cv::FILLED);
        m_frame.timestampUs += 500'000;
        return m_analyser.analyse(m_frame);
    }

    // The ids of all events while the square goes from place to place.
    std::multiset<std::string> eventsOf(const std::vector<int>& places)
    {
        std::multiset<std::string> ids;
        for (const int x : places)
        {
            for (const ResultEvent& event : see(x).events)
                ids.insert(event.id);
        }
        return ids;
    }

    ModelCatalogue m_models{"/nonexistent/settings.json", "motion"};
    FrameAnalyser m_analyser{m_models};
    InputFrame m_frame;
};

TEST_F(FrameAnalyserTest, aPlainPipelineGivesBoxesAlone)
{
    m_frame.inputIndex = 0;
    m_frame.pipeline = {{"model", 0.5f, "", ""}};
    m_frame.line = {{160, 0}, {160, 240}};
    m_frame.loitering = StayWatch{"motion", 0};
    m_frame.dumping = StayWatch{"motion", 0};
    const Result result = see(100);
    EXPECT_EQ(result.timestampUs, m_frame.timestampUs);
    EXPECT_EQ(result.imageSize, cv::Size(320, 240));
    ASSERT_EQ(result.objects.size(), 1u);
    EXPECT_EQ(result.objects.at("motion").size(), 1u);
    EXPECT_FALSE(result.hasIds);
    EXPECT_TRUE(result.counts.empty());
    EXPECT_TRUE(eventsOf({120, 140, 160, 180, 200}).empty());
}

TEST_F(FrameAnalyserTest, masksComeFirst)
{
    m_frame.masks = {{{0, 0}, {60, 0}, {60, 240}, {0, 240}}};
    EXPECT_TRUE(see(100).objects.empty());
}

TEST_F(FrameAnalyserTest, processorsSwitchFunctionsOn)
{
    const std::vector<int> across = {60, 80, 100, 120, 140, 160, 180, 200, 220};
    m_frame.line = {{160, 0}, {160, 240}};
    m_frame.loitering = StayWatch{"motion", 2'000'000};
    const struct
    {
        const char* processor;
        const char* event;
    } kCases[] = {
        {"LineCrossing", "tavo.orlix.linecrossing"},
        {"LoiteringDetection", "tavo.orlix.loiter_alarm"}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.processor);
        ++m_frame.inputIndex;
        (void)see(-1000);
        m_frame.pipeline = {{"model", 0.5f, c.processor, ""}};
        EXPECT_EQ(eventsOf(across).count(c.event), 1u);
    }
}

TEST_F(FrameAnalyserTest, whatIsLeftBehindIsAnEventAndAnObject)
{
    m_frame.pipeline = {{"model", 0.5f, "", "Illegal Dumping"}};
    m_frame.dumping = StayWatch{"object", 1'000'000};
    EXPECT_TRUE(see(-1000).events.empty());
    // The square is known as motion until it is background to that detector, and then left behind.
    std::size_t reports = 0;
    Result last;
    for (int i = 0; i < 80; ++i)
    {
        last = see(100);
        reports += last.events.size();
    }
    EXPECT_EQ(reports, 1u);
    ASSERT_EQ(last.objects.count("anomaly"), 1u);
    EXPECT_EQ(last.objects.count("motion"), 0u);
    m_analyser.takeReference();
    EXPECT_EQ(see(100).objects.count("anomaly"), 0u);
}

TEST_F(FrameAnalyserTest, countsGoBackToZeroAndIdsStay)
{
    m_frame.pipeline = {{"model", 0.5f, "", "Object Counting"}};
    EXPECT_EQ(see(-1000).counts, Counts());
    const Result first = see(100);
    EXPECT_EQ(first.counts, (Counts{{"motion", 1}}));
    EXPECT_TRUE(first.hasIds);
    const Result second = see(105);
    EXPECT_EQ(second.objects.at("motion")[0].id, first.objects.at("motion")[0].id);
    EXPECT_EQ(second.objects.at("motion")[0].attributes[1].first, "Seconds in view");
    EXPECT_EQ(see(-1000).counts, (Counts{{"motion", 0}}));
    m_frame.externalSettings["externalprocessor.ObjectIDs"] = "false";
    EXPECT_FALSE(see(100).hasIds);
}

} // namespace
} // namespace tavo::devkit
