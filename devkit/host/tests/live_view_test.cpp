#include "page/live_view.h"

#include <atomic>
#include <stdexcept>

#include <gtest/gtest.h>

#include "stream_text.h"

namespace tavo::devkit
{

namespace
{

const MetadataSink::Origin kFirst{0, "first"};
const MetadataSink::Origin kSecond{1, "second"};

PicturePtr pictureAt(int64_t mediaUs)
{
    auto picture = std::make_shared<Picture>();
    picture->mediaUs = mediaUs;
    return picture;
}

// Stands for the picture's bytes.
std::string encodingOf(const Picture& picture, int widthAtMost)
{
    return std::to_string(picture.mediaUs) + " in " + std::to_string(widthAtMost);
}

std::string pictureMessage(const std::string& device, int64_t timestampUs)
{
    return R"({"kind":"picture","device":")" + device + R"(","timestampUs":)" +
        std::to_string(timestampUs) + "}";
}

} // namespace

TEST(LiveView, showsPicturesToThoseWhoWantThem)
{
    LiveView live{std::chrono::seconds(300), encodingOf};
    live.onFrame(kFirst, 1, pictureAt(1)); // nobody looks

    const auto one = live.join({PictureSize::large, {"second"}});
    const auto none = live.join({std::nullopt, {}});
    live.onFrame(kFirst, 2, pictureAt(2));
    live.onFrame(kSecond, 3, pictureAt(3));
    EXPECT_EQ(jsonOf(one->take()), pictureMessage("second", 3));

    live.onLine({"objects", &kFirst, 4, R"({"kind":"objects"})"});
    live.onLine({"settingsModel", &kFirst, 0, R"({"kind":"settingsModel"})"});
    live.publish(R"({"kind":"last"})");
    for (const auto& viewer : {one, none})
    {
        EXPECT_EQ(jsonOf(viewer->take()), R"({"kind":"objects"})");
        EXPECT_EQ(jsonOf(viewer->take()), R"({"kind":"last"})");
    }

    EXPECT_EQ(live.history().pictures("first", {0, 9}).size(), 0u);
    EXPECT_EQ(live.history().pictures("second", {0, 9}).size(), 1u);
    EXPECT_EQ(live.history().pictures("second", {0, 2}).size(), 0u);
    EXPECT_EQ(live.history().lines("first", {4, 4}).size(), 1u);
    live.forget("first");
    EXPECT_EQ(live.history().lines("first", {4, 4}).size(), 0u);

    live.close();
    EXPECT_EQ(one->take(), nullptr);
    EXPECT_EQ(live.join({})->take(), nullptr);
}

TEST(LiveView, encodesAPictureOnceInEachSizeThatSomebodyWants)
{
    std::atomic<int> encodings{0};
    LiveView live{
        std::chrono::seconds(300),
        [&](const Picture& picture, int widthAtMost)
        {
            ++encodings;
            return encodingOf(picture, widthAtMost);
        }};
    const auto large = live.join({PictureSize::large, {}});
    const auto another = live.join({PictureSize::large, {"first"}});
    live.onFrame(kFirst, 1, pictureAt(10));
    for (const auto& viewer : {large, another})
        EXPECT_EQ(pictureOf(viewer->take()), "10 in 1280");
    EXPECT_EQ(encodings, 1);

    const auto small = live.join({PictureSize::small, {}});
    live.onFrame(kFirst, 2, pictureAt(20));
    for (const auto& viewer : {large, another})
        EXPECT_EQ(pictureOf(viewer->take()), "20 in 1280");
    EXPECT_EQ(pictureOf(small->take()), "20 in 640");
    EXPECT_EQ(encodings, 3);

    // Of several sizes the best is kept.
    const std::vector<History::Picture> kept = live.history().pictures("first", {2, 2});
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(*kept[0].jpeg, "20 in 1280");
}

TEST(LiveView, aPictureThatCannotBeEncodedCostsItselfAlone)
{
    LiveView live{
        std::chrono::seconds(300),
        [](const Picture& picture, int widthAtMost)
        {
            if (picture.mediaUs == 1)
                throw std::runtime_error("no \"ink\"");
            return encodingOf(picture, widthAtMost);
        }};
    const auto viewer = live.join({PictureSize::small, {}});
    live.onFrame(kFirst, 1, pictureAt(1));
    EXPECT_EQ(jsonOf(viewer->take()), R"({"kind":"trouble","text":"no \"ink\""})");
    live.onFrame(kFirst, 2, pictureAt(2));
    EXPECT_EQ(jsonOf(viewer->take()), pictureMessage("first", 2));
    EXPECT_EQ(live.history().pictures("first", {0, 9}).size(), 1u);
}

} // namespace tavo::devkit
