#include "utils/mpack_tree.h"

#include <string>

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

// An array of `count` small numbers.
std::string arrayOf(std::size_t count)
{
    MpackGrowableWriter writer;
    mpack_start_array(writer.writer(), static_cast<std::uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i)
        mpack_write_u64(writer.writer(), i % 100);
    mpack_finish_array(writer.writer());
    EXPECT_EQ(mpack_ok, writer.close());
    return {writer.bytes().data(), writer.bytes().size()};
}

TEST(MessageTreeTest, messagesOfAllSizesFollowOneAnother)
{
    MessageTree tree;
    for (const std::size_t count : {10, 2046, 2047, 2048, 100'000, 3})
    {
        SCOPED_TRACE(count);
        const std::string bytes = arrayOf(count);
        ASSERT_EQ(mpack_ok, tree.parse(bytes));
        ASSERT_EQ(count, mpack_node_array_length(tree.root()));
        EXPECT_EQ((count - 1) % 100, mpack_node_u32(mpack_node_array_at(tree.root(), count - 1)));
        EXPECT_EQ(mpack_ok, tree.finish());
    }
}

TEST(MessageTreeTest, anErrorStaysUntilTheNextMessage)
{
    MessageTree tree;
    EXPECT_EQ(mpack_type_nil, mpack_node_type(tree.root())); // before the first
    for (const std::string& bad :
         {std::string(), std::string("\x92\x01"), std::string("\xc1"),
          std::string("\xdd\xff\xff\xff\xff") + std::string(100, '\x01')})
    {
        EXPECT_NE(mpack_ok, tree.parse(bad));
        EXPECT_EQ(mpack_type_nil, mpack_node_type(tree.root()));
        EXPECT_EQ(0u, mpack_node_u64(mpack_node_map_cstr(tree.root(), "Timestamp")));
        EXPECT_NE(mpack_ok, tree.finish());
    }
    EXPECT_NE(mpack_ok, tree.parse({}));
    // A failed read counts as well, and is told at the end.
    ASSERT_EQ(mpack_ok, tree.parse(std::string_view("\x80")));
    EXPECT_EQ(mpack_type_nil, mpack_node_type(mpack_node_map_cstr(tree.root(), "InputIndex")));
    EXPECT_EQ(mpack_error_data, tree.finish());
    EXPECT_EQ(mpack_ok, tree.parse(std::string_view("\x80")));
}

TEST(MessageTreeTest, whatAMessageMayHoldIsBounded)
{
    MessageTree tree;
    EXPECT_EQ(mpack_ok, tree.parse(arrayOf(kMaxTreeNodes - 1)));
    EXPECT_EQ(mpack_error_too_big, tree.parse(arrayOf(kMaxTreeNodes)));
    EXPECT_EQ(mpack_type_nil, mpack_node_type(tree.root()));
    const std::string deep(20'000'000, '\x91');
    EXPECT_EQ(mpack_error_too_big, tree.parse(deep));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
