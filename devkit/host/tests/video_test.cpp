#include <condition_variable>

#include <gtest/gtest.h>

#include "annotator.h"
#include "settings_dialog.h"
#include "temp_folder.h"
#include "video_feed.h"
#include "video_source.h"
#include "video_writer.h"

namespace tavo::devkit
{

namespace
{

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr int64_t kStepUs = 100'000;

// A grey picture, lighter from picture to picture.
std::shared_ptr<Picture> makePicture(int index)
{
    const auto picture = std::make_shared<Picture>();
    picture->width = kWidth;
    picture->height = kHeight;
    picture->mediaUs = index * kStepUs;
    picture->pixels.assign(size_t(kWidth) * kHeight * 3, uint8_t(40 * index));
    return picture;
}

void writeVideo(const std::string& file, int pictures)
{
    VideoWriter writer(file, kWidth, kHeight);
    for (int i = 0; i < pictures; ++i)
    {
        const auto picture = makePicture(i);
        writer.write(
            picture->pixels.data(), kWidth, kHeight, picture->lineSize(), picture->mediaUs);
    }
    writer.finish();
}

std::vector<std::shared_ptr<Picture>> readVideo(
    const std::string& file, std::optional<FrameSize> size = std::nullopt)
{
    VideoSource source(file, size, {});
    std::vector<std::shared_ptr<Picture>> pictures;
    while (auto picture = source.next())
        pictures.push_back(std::move(picture));
    return pictures;
}

Metadata makeObjects(int64_t timestampUs)
{
    Metadata metadata;
    metadata.kind = Metadata::Kind::objects;
    metadata.timestampUs = timestampUs;
    metadata.objects.push_back({kPersonTypeId, "0123456789", 1, {0.25f, 0.25f, 0.5f, 0.5f}, {}});
    return metadata;
}

Metadata makeEvents(int64_t timestampUs)
{
    Metadata metadata;
    metadata.kind = Metadata::Kind::events;
    metadata.timestampUs = timestampUs;
    return metadata;
}

} // namespace

TEST(Video, whatIsWrittenCanBeRead)
{
    const TempFolder folder;
    for (const char* name : {"a.mp4", "a.mkv", "a.avi"})
    {
        SCOPED_TRACE(name);
        writeVideo(folder.file(name), 5);
        const auto pictures = readVideo(folder.file(name));
        ASSERT_GE(pictures.size(), 5u); // a container of one pace may repeat pictures
        for (const auto& picture : pictures)
        {
            EXPECT_EQ(picture->width, kWidth);
            EXPECT_EQ(picture->height, kHeight);
        }
        EXPECT_NEAR(pictures.front()->pixels[0], 0, 12);
        EXPECT_NEAR(pictures.back()->pixels[0], 160, 12);
        EXPECT_EQ(pictures.front()->mediaUs, 0);
        EXPECT_NEAR(double(pictures.back()->mediaUs), 4 * kStepUs, kStepUs / 2);
    }
}

TEST(Video, isScaledWhereAskedFor)
{
    const TempFolder folder;
    writeVideo(folder.file("a.mp4"), 1);
    const auto pictures = readVideo(folder.file("a.mp4"), FrameSize{33, 17});
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_EQ(pictures[0]->width, 33);
    EXPECT_EQ(pictures[0]->height, 17);
    EXPECT_GE(pictures[0]->pixels.size(), size_t(33 * 17 * 3));
}

TEST(Video, saysWhyThereIsNone)
{
    EXPECT_THROW((void)readVideo("/no/such/video.mp4"), std::runtime_error);
    EXPECT_THROW(VideoWriter("/no/such/folder/video.mp4", kWidth, kHeight), std::runtime_error);
    EXPECT_THROW(VideoWriter("video.unknown", kWidth, kHeight), std::runtime_error);
}

namespace
{

// Takes a number of pictures and one more, then waits for the stop like a camera that hangs.
class Taker : public PictureTaker
{
public:
    explicit Taker(size_t wanted) :
        m_wanted(wanted)
    {}

    void offerPicture(PicturePtr picture) override { keep(std::move(picture)); }
    void pushPicture(PicturePtr picture, std::stop_token stop) override
    {
        keep(std::move(picture));
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, stop, [this] { return m_pictures.size() <= m_wanted; });
    }

    std::vector<PicturePtr> wait()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_pictures.size() >= m_wanted; });
        return m_pictures;
    }

private:
    void keep(PicturePtr picture)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_pictures.push_back(std::move(picture));
        }
        m_changed.notify_all();
    }

private:
    const size_t m_wanted;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::vector<PicturePtr> m_pictures;
};

} // namespace

TEST(VideoFeedTest, playsAFileOverAndOverForAllTakers)
{
    const TempFolder folder;
    writeVideo(folder.file("a.mp4"), 3);
    Taker first(8);
    Taker second(8);
    VideoFeed feed(folder.file("a.mp4"), std::nullopt, {&first, &second});
    feed.goFast();
    feed.start();
    const auto pictures = first.wait();
    const auto others = second.wait();
    feed.stop();
    EXPECT_EQ(feed.failure(), "");
    for (size_t i = 0; i < 8; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(pictures[i], others[i]) << "one decoding for all";
        EXPECT_NEAR(double(pictures[i]->mediaUs), double(i) * kStepUs, kStepUs / 4);
    }
}

TEST(VideoFeedTest, tellsThatThereIsNoVideo)
{
    VideoFeed feed("/no/such/video.mp4", std::nullopt, {});
    feed.start();
    while (feed.failure().empty())
        std::this_thread::yield();
    EXPECT_NE(feed.failure().find("/no/such/video.mp4"), std::string::npos);
}

TEST(AnnotatorTest, drawsResultsOnTheirFrames)
{
    const TempFolder folder;
    Annotator annotator({folder.file("out.mp4"), folder.file("sheet.png"), {}});
    for (int i = 0; i < 3; ++i)
        annotator.onFrame(1000 + i, makePicture(0));
    annotator.onMetadata(makeEvents(1000)); // a result without objects
    annotator.onMetadata(makeObjects(1002));
    annotator.onMetadata(makeEvents(1002));
    annotator.onMetadata(makeEvents(999)); // of a frame that nobody knows
    const Annotator::Summary summary = annotator.finish();
    EXPECT_EQ(summary.failure, "");
    EXPECT_EQ(summary.drawn, 2u);
    EXPECT_EQ(summary.unmatched, 1u);
    EXPECT_EQ(summary.skipped, 0u);

    const auto pictures = readVideo(folder.file("out.mp4"));
    ASSERT_EQ(pictures.size(), 2u);
    const auto isBlack = [](const Picture& picture)
    {
        return std::all_of(
            picture.pixels.begin(), picture.pixels.begin() + kWidth * kHeight * 3,
            [](uint8_t value) { return value < 40; });
    };
    EXPECT_TRUE(isBlack(*pictures[0]));
    EXPECT_FALSE(isBlack(*pictures[1]));
    EXPECT_EQ(readVideo(folder.file("sheet.png")).size(), 1u);
}

TEST(AnnotatorTest, tellsWhatItCannotWrite)
{
    Annotator annotator({"/no/such/folder/out.mp4", "", {}});
    annotator.onFrame(1, makePicture(0));
    annotator.onMetadata(makeEvents(1));
    EXPECT_NE(annotator.finish().failure, "");
}

TEST(SettingsDialogTest, showsWhatIsVisible)
{
    const std::vector<std::string> lines = describeModel(R"({"items": [
        {"type": "Banner", "icon": "info", "text": "two\nlines"},
        {"type": "Button", "name": "hidden", "visible": false},
        {"type": "Row", "items": [{"type": "Button", "name": "inner", "visible": true}]},
        {"type": "GroupBox", "visible": false, "items": [{"type": "Banner", "text": "hidden"}]}]})");
    EXPECT_EQ(lines, (std::vector<std::string>{"info: two lines", "button inner"}));
    EXPECT_TRUE(describeModel("no JSON").empty());
}

} // namespace tavo::devkit
