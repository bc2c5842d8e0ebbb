#include "utils/json_mpack.h"

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

TEST(JsonToMpackTest, everyKindHasItsEncoding)
{
    const CapturedLog log;
    const struct
    {
        const char* json;
        std::string bytes;
    } cases[] = {
        {"300", std::string("\xcd\x01\x2c")},
        {"18446744073709551615", "\xcf\xff\xff\xff\xff\xff\xff\xff\xff"},
        {"1.5", std::string("\xcb\x3f\xf8\0\0\0\0\0\0", 9)},
        {"[true,[-1,\"b\"]]", "\x92\xc3\x92\xff\xa1\x62"},
        {"{\"k\":{\"a\\u0000b\":false}}", std::string("\x81\xa1\x6b\x81\xa3\x61\0\x62\xc2", 9)},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.json);
        const auto tree = treeOf(c.json);
        ASSERT_TRUE(tree);
        EXPECT_EQ(c.bytes, bytesOf(*tree));
        EXPECT_EQ(c.bytes, bytesOf(*mpack_node_clone(tree->root())));
    }
    EXPECT_EQ("", log.text());
}

TEST(JsonToMpackTest, whatHasNoCounterpartFailsTheWhole)
{
    EXPECT_FALSE(treeOf("{\"a\":[1,null]}"));
    EXPECT_FALSE(json_to_mpack_tree(nullptr));
    for (const int depth : {kMaxTreeDepth + 1, kMaxTreeDepth + 2, 100'000})
    {
        const auto size = static_cast<std::size_t>(depth);
        std::string objects;
        for (std::size_t i = 0; i + 1 < size; ++i)
            objects += "{\"a\":";
        for (const std::string& json :
             {std::string(size, '[') + std::string(size, ']'),
              objects + "{}" + std::string(size - 1, '}')})
            EXPECT_EQ(depth == kMaxTreeDepth + 1, treeOf(json) != nullptr);
    }
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
        {"\x92\xc4\x02xy\xf0", mpack_ok, "\x92\xc4\x02xy\xf0"},
        {"\xc0", mpack_ok, ""},
        {"\x92\x01\xc0", mpack_error_data, ""},
        {"\x81\xa1k\xc0", mpack_error_data, ""},
        {std::string(kMaxTreeDepth, '\x91') + "\x01", mpack_ok,
         std::string(kMaxTreeDepth, '\x91') + "\x01"},
        {std::string(kMaxTreeDepth + 1, '\x91') + "\x01", mpack_error_too_big, ""},
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
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
