#include "utils/shm.h"

#include <cstring>
#include <optional>
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
    explicit OwnSegment(std::optional<std::uint32_t> payloadSize)
    {
        if (payloadSize)
            shm_create_named(*this, uniqueName("shm"), 7, *payloadSize);
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

bool write(const ShmView& view, const std::string& text)
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

std::size_t openDescriptors()
{
    const std::filesystem::directory_iterator begin("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

TEST(ShmTest, whatOneSideWritesTheOtherReads)
{
    const OwnSegment segment(10);
    EXPECT_EQ(0u, segment.name.find("\\\\\\.\\Global\\SHM_orlix_test_shm_"));
    EXPECT_TRUE(segment.name.ends_with("_7"));
    ASSERT_TRUE(shm_is_valid(segment));
    EXPECT_EQ(10u, shm_size(segment));
    const ShmView view = attachByName(shm_name(segment));
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
    const ShmView view = attachByName(segment.name);
    ASSERT_TRUE(write(view, "0123456789"));
    const CapturedLog log;
    EXPECT_FALSE(write(view, "0123456789a"));
    EXPECT_EQ(
        "Warning: A message of 11 bytes does not fit the shared memory. Ignoring it.\n",
        log.text());
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
    const ShmView view = attachByName(segment.name);
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

TEST(ShmTest, holesAreBackedBeforeTheyAreTouched)
{
    const OwnSegment segment(0);
    constexpr std::size_t kSize = 1'000'000;
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), kSize));
    const ShmView view = attachByName(segment.name);
    ASSERT_TRUE(shm_write_begin(view, kSize - 4));
    struct stat status = {};
    ASSERT_EQ(0, fstat(static_cast<int>(segment.handle), &status));
    EXPECT_GE(static_cast<std::size_t>(status.st_blocks) * 512, kSize);
}

TEST(ShmTest, nothingGoesBeyondTheReserve)
{
    const OwnSegment segment(0);
    const CapturedLog log;
    EXPECT_FALSE(shm_resize(segment, kShmReservedSize - 3));
    EXPECT_EQ("Error: Could not realloc shared memory: Cannot allocate memory\n", log.text());
    ASSERT_EQ(0, ftruncate(static_cast<int>(segment.handle), 2 * kShmReservedSize));
    EXPECT_EQ(kShmReservedSize, attachByName(segment.name).committedSize());
}

TEST(ShmTest, randomNamesAreTriedFiveTimes)
{
    OwnSegment first(std::nullopt);
    shm_create_random(first, 5);
    ASSERT_TRUE(shm_is_valid(first));
    ASSERT_EQ(0u, first.name.find("Global_RandomSHM_"));
    const auto taken = static_cast<std::uint32_t>(std::stoul(first.name.substr(17), nullptr, 16));
    OwnSegment second(std::nullopt);
    int asked = 0;
    shm_create_random(second, 5, [&] { return taken + (++asked > 4 ? 1 : 0); });
    EXPECT_EQ(5u, shm_size(second));

    const CapturedLog log;
    ShmSegment third;
    shm_create_random(third, 5, [&] { return taken; });
    EXPECT_FALSE(shm_is_valid(third));
    EXPECT_EQ(first.name, third.name);
    std::string lines;
    for (int i = 0; i < 5; ++i)
        lines += "SHM with key " + first.name + " already exists. Trying again...\n";
    EXPECT_EQ(lines + "Warning: Could not attach shared memory: Bad file descriptor\n", log.text());
}

TEST(ShmTest, whatIsMissingIsTold)
{
    const CapturedLog log;
    ShmSegment segment;
    shm_from_name(segment, uniqueName("none"));
    EXPECT_FALSE(shm_open(segment));
    EXPECT_FALSE(shm_is_attached(shm_attach(segment)));
    EXPECT_FALSE(shm_write(segment, "x", 1));
    EXPECT_EQ(-1, shm_close(segment));
    EXPECT_EQ(
        "Warning: Could not get SHM ID: No such file or directory\n"
        "Warning: Could not attach shared memory: Bad file descriptor\n"
        "Warning: Could not obtain shared memory for writing: Bad file descriptor\n",
        log.text());
    shm_from_name(segment, std::string(5000, 'n')); // longer than any system's names
    EXPECT_FALSE(shm_open(segment));
}

TEST(ShmTest, aViewOutlivesNameAndHandleAndLeavesNoDescriptor)
{
    const std::size_t before = openDescriptors();
    {
        OwnSegment segment(10);
        ShmView view = attachByName(segment.name);
        const ShmView other = attachByName(segment.name);
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

TEST(ShmTest, handlesAreParsedAsTheyArePrinted)
{
    const struct
    {
        const char* text;
        bool parses;
        ShmHandle handle;
    } cases[] = {{"0x1f", true, 0x1f}, {"1F", true, 0x1f}, {"", false, 9},
                 {"0x", false, 9},     {"12 ", false, 9},  {"nil", false, 9}};
    for (const auto& c : cases)
    {
        ShmHandle handle = 9;
        EXPECT_EQ(c.parses, shm_from_string(c.text, handle)) << c.text;
        EXPECT_EQ(c.handle, handle) << c.text;
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
