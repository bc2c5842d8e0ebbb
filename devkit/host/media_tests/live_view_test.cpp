#include "page/live_view.h"

#include <gtest/gtest.h>

#include "stream_text.h"

namespace tavo::devkit
{

namespace
{

PicturePtr greyPicture()
{
    auto picture = std::make_shared<Picture>();
    picture->width = 64;
    picture->height = 48;
    picture->pixels.assign(64 * 48 * 3, 128);
    return picture;
}

} // namespace

TEST(LiveView, showsPicturesToThoseWhoWantThem)
{
    LiveView live{std::chrono::seconds(300)};
    const MetadataSink::Origin first{0, "first"};
    const MetadataSink::Origin second{1, "second"};
    live.onFrame(first, 1, greyPicture()); // nobody looks

    const auto one = live.join({PictureSize::large, {"second"}});
    const auto none = live.join({std::nullopt, {}});
    live.onFrame(first, 2, greyPicture());
    live.onFrame(second, 3, greyPicture());
    EXPECT_EQ(jsonOf(one->take()), R"({"kind":"picture","device":"second","timestampUs":3})");

    live.onLine({"objects", &first, 4, R"({"kind":"objects"})"});
    live.onLine({"settingsModel", &first, 0, R"({"kind":"settingsModel"})"});
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

} // namespace tavo::devkit
