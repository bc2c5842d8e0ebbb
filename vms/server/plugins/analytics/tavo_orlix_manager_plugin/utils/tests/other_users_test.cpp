// What nothing in the library calls: it is there for other programs that use these utilities.

#include <cstdio>

#include "test_support.h"
#include "utils/json.h"
#include "utils/json_mpack.h"
#include "utils/pipes.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(OtherUsersTest, handlesAreReadFromTheirText)
{
    ShmHandle segment{};
    EXPECT_FALSE(shm_from_string("no handle", segment));
    EXPECT_TRUE(shm_from_string("0x1f", segment));

    PipeEnd readEnd;
    PipeEnd writeEnd;
    ASSERT_EQ(1, pipe_create(readEnd.handle, writeEnd.handle));
    char text[32];
    std::snprintf(text, sizeof text, "%p", reinterpret_cast<void*>(writeEnd.handle));
    PipeEnd same = pipe_end_from_string(text);
    EXPECT_EQ(writeEnd.handle, same.handle);
    same.handle = kInvalidPipe; // the other end's to close
    EXPECT_EQ(kInvalidPipe, pipe_end_from_string("0x7ffffff0").handle);
    EXPECT_EQ(kInvalidPipe, pipe_end_from_string("no handle").handle);
}

TEST(OtherUsersTest, aNodeIsPrintedWithItsNesting)
{
    const JsonDocument document = parseJson(R"({"a": [true, -1, 2, 1.5, "b", {"c": {}}]})");
    const auto tree = json_to_mpack_tree(yyjson_doc_get_root(document.get()));
    ASSERT_TRUE(tree);
    testing::internal::CaptureStdout();
    mpack_node_dump(tree->root());
    std::fflush(stdout);
    EXPECT_EQ(
        "{\n\"a\":   [\n  true,\n  -1,\n  2,\n  1.500000,\n  \"b\",\n"
        "  {\n    \"c\": {\n      },\n    },\n  ],\n}",
        testing::internal::GetCapturedStdout());
    const struct
    {
        std::string bytes;
        std::string end;
    } cases[] = {
        {"\xc4\x02xy", "< binary data, size 2 >\n"},
        {"\xc0", "Warning! Unknown mpack type: 1\n"},
        {std::string(kMaxTreeDepth + 1, '\x91') + "\x01", "...,\n"},
    };
    for (const auto& c : cases)
    {
        MessageTree message;
        ASSERT_EQ(mpack_ok, message.parse(c.bytes));
        testing::internal::CaptureStdout();
        mpack_node_dump(message.root());
        const std::string told = testing::internal::GetCapturedStdout();
        EXPECT_NE(std::string::npos, told.find(c.end)) << told;
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
