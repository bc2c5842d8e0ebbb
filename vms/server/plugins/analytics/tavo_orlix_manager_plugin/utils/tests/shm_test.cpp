#include "utils/shm.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

// A segment that is gone with the test.
struct OwnSegment : ShmSegment
{
    explicit OwnSegment(std::uint32_t payloadSize)
    {
        shm_create_named(*this, uniqueName("shm"), 7, payloadSize);
    }
    ~OwnSegment()
    {
        shm_close(*this);
        shm_remove(*this);
    }
    OwnSegment(const OwnSegment&) = delete;
    OwnSegment& operator=(const OwnSegment&) = delete;
};

ShmView attachByName(const std::string& name)
{
    ShmSegment segment;
    shm_from_name(segment, name);
    EXPECT_TRUE(shm_open(segment));
    ShmView view = shm_attach(segment);
    EXPECT_EQ(0, shm_close(segment)); // the view lives on
    return view;
}

bool write(ShmView& view, const std::string& text)
{
    return shm_write_attached(view, text.data(), static_cast<std::uint32_t>(text.size()));
}

std::string readText(const ShmSegment& segment)
{
    std::uint32_t size = 0;
    const char* data = nullptr;
    const ShmView view = shm_read(segment, size, data);
    return shm_is_attached(view) ? std::string(data, size) : "not attached";
}

TEST(ShmTest, whatOneSideWritesTheOtherReads)
{
    const OwnSegment segment(10);
    EXPECT_EQ(10u, shm_size(segment));
    ShmView view = attachByName(shm_name(segment));
    ASSERT_TRUE(write(view, "frame"));
    EXPECT_EQ("frame", readText(segment));
    ASSERT_TRUE(shm_write(segment, "back", 4));
    std::uint32_t size = 0;
    const char* data = nullptr;
    ASSERT_EQ(view.address() + 4, shm_read_attached(view, size, data));
    EXPECT_EQ("back", std::string(data, size));
}

TEST(ShmTest, aMessageIsHeldAgainstWhatIsCommittedNow)
{
    const OwnSegment segment(10);
    ShmView view = attachByName(segment.name);
    ASSERT_TRUE(write(view, "0123456789"));
    EXPECT_FALSE(write(view, "0123456789a"));
    EXPECT_EQ("0123456789", readText(segment));
    ASSERT_TRUE(shm_resize(segment, 100'000)); // shows in the view that exists
    const std::string large(100'000, 'x');
    ASSERT_TRUE(write(view, large));
    EXPECT_EQ(large, readText(segment));
    ASSERT_TRUE(shm_resize(segment, 1)); // only grows
    EXPECT_EQ(100'000u, shm_size(segment));
    EXPECT_EQ(nullptr, shm_write_begin(view, 0xFFFFFFFF));
}

TEST(ShmTest, aSegmentCutByTheOtherSideDoesNotEndThisProcess)
{
    const OwnSegment segment(100'000);
    ShmView view = attachByName(segment.name);
    ASSERT_TRUE(write(view, std::string(100'000, 'x')));
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), 8));
    std::uint32_t size = 0;
    const char* data = nullptr;
    EXPECT_TRUE(shm_read_attached(view, size, data));
    EXPECT_EQ(4u, size); // the size word still says 100,000
    EXPECT_FALSE(write(view, "12345"));
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), 0));
    EXPECT_FALSE(write(view, ""));
    EXPECT_EQ("not attached", readText(segment));
    EXPECT_EQ(0u, shm_size(segment));
}

TEST(ShmTest, aSegmentCutWhileItIsWrittenToFailsTheWriteAlone)
{
    constexpr std::uint32_t kSize = 1'000'000;
    OwnSegment segment(kSize);
    ShmView view = attachByName(segment.name);
    for (const std::size_t left : {std::size_t{0}, std::size_t{500'000}})
    {
        SCOPED_TRACE(left);
        char* const payload = shm_write_begin(view, kSize);
        ASSERT_TRUE(payload);
        ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), static_cast<off_t>(left)));
        std::memset(payload, 'x', kSize);
        EXPECT_FALSE(shm_write_end(view));

        EXPECT_FALSE(write(view, std::string(kSize, 'y')));
        ASSERT_TRUE(shm_resize(segment, kSize));
        ASSERT_TRUE(write(view, std::string(kSize, 'z')));
        EXPECT_EQ(std::string(kSize, 'z'), readText(segment)); // of the segment, as before
    }
}

TEST(ShmTest, holesAreBackedBeforeTheyAreTouched)
{
    constexpr std::size_t kSize = 1'000'000;
    const struct
    {
        const char* name;
        std::size_t allocated; // bytes at the segment's end
    } cases[] = {{"all is a hole", 0}, {"a hole in front", kSize}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const OwnSegment segment(0);
        const int descriptor = static_cast<int>(segment.handle);
        ASSERT_EQ(0, ftruncate(descriptor, kSize + 1'000'000));
        if (c.allocated > 0)
        {
            ASSERT_EQ(0, posix_fallocate(descriptor, 1'000'000, static_cast<off_t>(c.allocated)));
        }
        ShmView view = attachByName(segment.name);
        ASSERT_TRUE(shm_write_begin(view, kSize - 4));
        EXPECT_TRUE(shm_write_end(view));
        struct stat status = {};
        ASSERT_EQ(0, fstat(descriptor, &status));
        EXPECT_GE(static_cast<std::size_t>(status.st_blocks) * 512, kSize + c.allocated);
    }
}

TEST(ShmTest, nothingGoesBeyondTheReserve)
{
    const OwnSegment segment(0);
    EXPECT_FALSE(shm_resize(segment, kShmReservedSize - 3));
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), 2 * kShmReservedSize));
    EXPECT_EQ(kShmReservedSize, attachByName(segment.name).committedSize());
}

TEST(ShmTest, aViewOutlivesNameAndHandleAndLeavesNoDescriptor)
{
    const auto before = openDescriptors();
    {
        OwnSegment segment(10);
        ShmView view = attachByName(segment.name);
        ShmView other = attachByName(segment.name);
        shm_remove(segment);
        EXPECT_EQ(0, shm_close(segment));
        EXPECT_EQ(-1, shm_close(segment));
        ASSERT_TRUE(write(other, "seen"));
        EXPECT_EQ(0, std::memcmp("seen", view.address() + 4, 4));
        shm_detach(view);
        EXPECT_FALSE(shm_is_attached(view));
        EXPECT_FALSE(write(view, "x"));
    }
    EXPECT_EQ(before, openDescriptors());
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
