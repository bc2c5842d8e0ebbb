#include "utils/shm.h"

#include <cstring>

#include "large_segment.h"
#include "own_segment.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

// With its header, whole pages: a system may commit no less.
constexpr std::uint32_t kFull = 0x10000 - kShmHeaderSize;

TEST(ShmTest, whatOneSideWritesTheOtherReads)
{
    const OwnSegment segment(kFull);
    EXPECT_EQ(kFull, shm_size(segment));
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
    const OwnSegment segment(kFull);
    ShmView view = attachByName(segment.name);
    const std::string full(kFull, 'f');
    ASSERT_TRUE(write(view, full));
    EXPECT_FALSE(write(view, full + "x"));
    EXPECT_EQ(full, readText(segment));
    constexpr std::uint32_t kLarge = 3 * 0x10000 - kShmHeaderSize;
    ASSERT_TRUE(shm_resize(segment, kLarge)); // shows in the view that exists
    ASSERT_TRUE(write(view, std::string(kLarge, 'x')));
    EXPECT_EQ(std::string(kLarge, 'x'), readText(segment));
    ASSERT_TRUE(shm_resize(segment, 1)); // only grows
    EXPECT_EQ(kLarge, shm_size(segment));
    EXPECT_EQ(nullptr, shm_write_begin(view, 0xFFFFFFFF));
}

TEST(ShmTest, nothingGoesBeyondTheReserve)
{
    const OwnSegment segment(0);
    EXPECT_FALSE(shm_resize(segment, kShmReservedSize - 3));
    EXPECT_LT(shm_size(segment), kFull); // nothing of it
}

TEST(ShmTest, aViewEndsWithTheReserve)
{
    const LargeSegment segment(2 * kShmReservedSize);
    EXPECT_EQ(kShmReservedSize, attachByName(segment.name).committedSize());
}

TEST(ShmTest, aViewOutlivesNameAndHandleAndLeavesNoDescriptor)
{
    const auto run = []
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
    };
    run(); // what a system keeps from the first time on
    const auto before = test_support::openHandles();
    run();
    EXPECT_EQ(before, test_support::openHandles());
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
