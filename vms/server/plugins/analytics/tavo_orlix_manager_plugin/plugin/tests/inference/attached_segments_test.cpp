#include "inference/attached_segments.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "utils/tests/own_segment.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(AttachedSegmentsTest, TheOneNotUsedForLongestGoesBeyond256)
{
    const test::CapturedLog log;
    AttachedSegments segments;
    std::vector<std::unique_ptr<test::OwnSegment>> all;
    const auto attachNext = [&]
    {
        all.push_back(std::make_unique<test::OwnSegment>(16));
        ASSERT_TRUE(segments.find(all.back()->name));
    };
    while (all.size() < 256)
        attachNext();
    EXPECT_TRUE(segments.find(all[0]->name));
    attachNext();
    attachNext();
    EXPECT_FALSE(segments.close(all[1]->name));
    EXPECT_FALSE(segments.close(all[2]->name));
    for (const std::size_t kept : {0, 3, 256, 257})
        EXPECT_TRUE(segments.close(all[kept]->name)) << kept;
    const std::string text = log.text();
    const std::string warning = "Warning: The application names more than 256 segments";
    EXPECT_NE(std::string::npos, text.find(warning));
    EXPECT_EQ(text.find(warning), text.rfind(warning));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
