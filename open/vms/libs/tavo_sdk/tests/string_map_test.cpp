#include <gtest/gtest.h>

#include "host_doubles.h"

namespace tavo::sdk
{

namespace
{

using test::StdMap;

TEST(StringMap, isSortedAndUnique)
{
    const auto map = makePtr<StringMap>();
    map->setItem("b", "2");
    map->setItem("a", "1");
    map->setItem("b", "3");
    ASSERT_EQ(map->count(), 2);
    EXPECT_STREQ(map->key(0), "a");
    EXPECT_STREQ(map->key(1), "b");
    EXPECT_STREQ(map->valueAt(1), "3");
    EXPECT_STREQ(map->value("b"), "3");
    EXPECT_EQ(map->value("c"), nullptr);
    EXPECT_EQ(map->value(nullptr), nullptr);
    for (const int index : {-1, 2})
    {
        EXPECT_EQ(map->key(index), nullptr);
        EXPECT_EQ(map->valueAt(index), nullptr);
    }

    map->setItem("", "x"); // refused
    EXPECT_EQ(map->count(), 2);
}

TEST(StringMap, convertsOnlyIfItIsWhole)
{
    class Broken : public RefCountable<IStringMap>
    {
    public:
        int count() const override { return 2; }
        const char* key(int index) const override { return index == 0 ? "a" : nullptr; }
        const char* value(const char*) const override { return nullptr; }
        const char* valueAt(int) const override { return "x"; }
    };

    StdMap map = {{"former", "value"}};
    EXPECT_FALSE(toStdMap(nullptr, &map));
    EXPECT_FALSE(toStdMap(makePtr<Broken>().get(), &map));
    EXPECT_EQ(map, (StdMap{{"former", "value"}}));
    EXPECT_TRUE(toStdMap(makePtr<StringMap>(StdMap{{"a", "1"}, {"b", ""}}).get(), &map));
    EXPECT_EQ(map, (StdMap{{"a", "1"}, {"b", ""}}));
}

} // namespace

} // namespace tavo::sdk
