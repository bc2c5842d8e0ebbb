// What a segment's file may become there in the hands of the other side.

#include "utils/shm.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "own_segment.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(ShmTest, aSegmentCutByTheOtherSideDoesNotEndThisProcess)
{
    const OwnSegment segment(100'000);
    ShmView view = attachByName(segment.name);
    ASSERT_TRUE(write(view, std::string(100'000, 'x')));
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), 2L * kShmReservedSize));
    EXPECT_EQ(kShmReservedSize, attachByName(segment.name).committedSize());
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), 8));
    std::uint32_t size = 0;
    const char* data = nullptr;
    EXPECT_TRUE(shm_read_attached(view, size, data));
    EXPECT_EQ(4u, size); // the size word still says 100,000
    EXPECT_FALSE(write(view, "12345"));
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), 0));
    EXPECT_FALSE(write(view, ""));
    EXPECT_FALSE(shm_read_attached(view, size, data));
    EXPECT_EQ(0u, size);
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
        EXPECT_EQ(0600u, status.st_mode & 0777u);
        EXPECT_GE(static_cast<std::size_t>(status.st_blocks) * 512, kSize + c.allocated);
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
