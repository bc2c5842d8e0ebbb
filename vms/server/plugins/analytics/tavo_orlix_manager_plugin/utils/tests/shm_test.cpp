#include "utils/shm.h"

#include <cstring>
#include <utility>

#include "own_segment.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

// With its header, whole pages: a system may commit no less.
constexpr std::uint32_t kFull = 0x10000 - kShmHeaderSize;

TEST(ShmTest, whatOneSideWritesTheOtherReadsUpToWhatIsCommittedNow)
{
    const OwnSegment segment(kFull);
    EXPECT_EQ(kFull, shm_size(segment));
    ShmView view = attachByName(shm_name(segment));
    ASSERT_TRUE(shm_write(segment, "back", 4));
    std::uint32_t size = 0;
    const char* data = nullptr;
    ASSERT_EQ(view.address() + 4, shm_read_attached(view, size, data));
    EXPECT_EQ("back", std::string(data, size));
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

TEST(ShmTest, aRandomNameThatIsTakenIsTriedAnew)
{
    const CapturedLog log;
    const std::uint32_t taken = test_support::ownProcessId() * 16;
    ShmSegment segments[3];
    int tries = 0;
    const auto nameAt = [&](int freeAt)
    { return [&, freeAt] { return taken + (++tries == freeAt ? 1 : 0); }; };
    shm_create_random(segments[0], 10, nameAt(0));
    EXPECT_EQ(1, std::exchange(tries, 0));
    shm_create_random(segments[1], 10, nameAt(5));
    EXPECT_EQ(5, std::exchange(tries, 0));
    EXPECT_TRUE(shm_is_valid(segments[1]));
    EXPECT_LE(10u, shm_size(segments[1]));
    EXPECT_NE(segments[0].name, segments[1].name);
    shm_create_random(segments[2], 10, nameAt(0));
    EXPECT_EQ(5, tries);
    EXPECT_FALSE(shm_is_valid(segments[2]));
    EXPECT_NE(
        std::string::npos,
        log.text().find("SHM with key " + segments[0].name + " already exists. Trying again...\n"));
    for (int i : {0, 1})
    {
        shm_close(segments[i]);
        shm_remove(segments[i]);
        EXPECT_FALSE(shm_open(segments[i]));
    }
}

TEST(ShmTest, withoutASegmentNothingIsReadOrWrittenAndTheReasonIsTold)
{
    const CapturedLog log;
    ShmSegment none;
    shm_from_name(none, uniqueName("none"));
    EXPECT_FALSE(shm_open(none));
    EXPECT_FALSE(shm_is_attached(shm_attach(none)));
    EXPECT_FALSE(shm_resize(none, 1));
    EXPECT_FALSE(shm_write(none, "x", 1));
    EXPECT_EQ("not attached", readText(none));
    const std::string text = log.text();
    for (const std::string failed :
         {"get SHM ID", "attach shared memory", "obtain shared memory for writing",
          "read shared memory"})
        EXPECT_NE(std::string::npos, text.find("Warning: Could not " + failed + ": ")) << text;
    EXPECT_EQ(std::string::npos, text.find(SystemErrorText(0).c_str())) << text;
}

TEST(ShmTest, nothingGoesBeyondTheReserve)
{
    const OwnSegment segment(0);
    EXPECT_FALSE(shm_resize(segment, kShmReservedSize - 3));
    EXPECT_LT(shm_size(segment), kFull); // nothing of it
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
