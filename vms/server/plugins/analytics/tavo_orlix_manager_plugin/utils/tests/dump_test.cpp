#include "utils/dump.h"

#include "test_support.h"
#include "utils/json.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

std::unique_ptr<MpackTree> treeOf(const std::string& json)
{
    const JsonDocument document = parseJson(json);
    EXPECT_TRUE(document) << json;
    return json_to_mpack_tree(yyjson_doc_get_root(document.get()));
}

std::string bytesOf(const MpackTree& tree)
{
    return {tree.bytes().data(), tree.bytes().size()};
}

std::string nested(int depth)
{
    const auto count = static_cast<std::size_t>(depth);
    return std::string(count, '[') + std::string(count, ']');
}

TEST(JsonToMpackTest, everyKindHasItsEncoding)
{
    const struct
    {
        const char* json;
        std::string bytes;
    } cases[] = {
        {"true", "\xc3"},
        {"7", "\x07"},
        {"300", std::string("\xcd\x01\x2c")},
        {"18446744073709551615", "\xcf\xff\xff\xff\xff\xff\xff\xff\xff"},
        {"-1", "\xff"},
        {"1.5", std::string("\xcb\x3f\xf8\0\0\0\0\0\0", 9)},
        {"\"a\\u0000b\"",
         std::string(
             "\xa3"
             "a\0b",
             4)},
        {"[]", "\x90"},
        {"{}", "\x80"},
        {"[1,[2]]", "\x92\x01\x91\x02"},
        {"{\"k\":{\"a\\u0000b\":false}}",
         "\x81\xa1k\x81\xa1"
         "a\xc2"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.json);
        const auto tree = treeOf(c.json);
        ASSERT_TRUE(tree);
        EXPECT_EQ(mpack_ok, tree->error());
        EXPECT_EQ(c.bytes, bytesOf(*tree));
        const auto copy = mpack_node_clone(tree->root());
        EXPECT_EQ(c.bytes, bytesOf(*copy));
    }
}

TEST(JsonToMpackTest, whatHasNoCounterpartFailsTheWhole)
{
    const CapturedLog log;
    EXPECT_FALSE(treeOf("{\"a\":[1,null]}"));
    EXPECT_TRUE(log.text().starts_with("WARNING! Unknown YYJSON_TYPE 2\nProblem writing data: "));
    EXPECT_FALSE(json_to_mpack_tree(nullptr));
    EXPECT_FALSE(treeOf(nested(100'000)));
    EXPECT_TRUE(treeOf(nested(kMaxTreeDepth)));
}

// What no JSON gives: float, bin, nil, extensions.
TEST(MpackNodeWriteTest, everyKindIsCopiedOrSpoilsTheMessage)
{
    const struct
    {
        std::string bytes;
        mpack_error_t error;
        std::string copy;
    } cases[] = {
        {std::string("\xca\x3f\xc0\0\0", 5), mpack_ok, std::string("\xca\x3f\xc0\0\0", 5)},
        {std::string("\xc4\0", 2), mpack_ok, std::string("\xc4\0", 2)},
        {"\x92\xc4\x02xy\xf0", mpack_ok, "\x92\xc4\x02xy\xf0"},
        {"\xc0", mpack_ok, ""},
        {"\x92\x01\xc0", mpack_error_data, ""},
        {"\x81\xa1k\xc0", mpack_error_data, ""},
        {std::string(kMaxTreeDepth + 2, '\x91') + "\x01", mpack_error_too_big, ""},
    };
    for (const auto& c : cases)
    {
        MessageTree tree;
        ASSERT_EQ(mpack_ok, tree.parse(c.bytes));
        MpackGrowableWriter writer;
        mpack_node_write(tree.root(), writer.writer());
        EXPECT_EQ(c.error, writer.close());
        EXPECT_EQ(c.copy, std::string(writer.bytes().data(), writer.bytes().size()));
    }
    const CapturedLog log;
    MessageTree tree;
    static_cast<void>(tree.parse(std::string_view("\x91\xc0")));
    EXPECT_NE(mpack_ok, mpack_node_clone(tree.root())->error());
    EXPECT_EQ(
        "Warning! Unknown mpack type: 1\nProblem writing data: " +
            std::string(mpack_error_to_string(mpack_error_data)) + "\n",
        log.text());
}

TEST(MpackNodeDumpTest, theNodesArePrinted)
{
    const std::string bytes = "\x83\xa1k\x92\xc3\xd0\xf0\xa1l\x81\x01\xca\x3f\xc0" +
        std::string(2, '\0') + "\xa1m\x92\xc4\x01x\xc0";
    MessageTree tree;
    ASSERT_EQ(mpack_ok, tree.parse(bytes));
    testing::internal::CaptureStdout();
    mpack_node_dump(tree.root());
    EXPECT_EQ(
        "{\n"
        "\"k\":   [\n  true,\n  -16,\n  ],\n"
        "\"l\": {\n  1: 1.500000,\n  },\n"
        "\"m\":   [\n  < binary data, size 1 >\n,\n  Warning! Unknown mpack type: 1\n,\n  ],\n"
        "}",
        testing::internal::GetCapturedStdout());
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
