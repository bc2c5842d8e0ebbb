#include <gtest/gtest.h>

#include <tavo/sdk/helpers/settings_response.h>
#include <tavo/sdk/helpers/to_string.h>

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
        bool hasKey = false; // else a value
        int count() const override { return 1; }
        const char* key(int) const override { return hasKey ? "a" : nullptr; }
        const char* value(const char*) const override { return nullptr; }
        const char* valueAt(int) const override { return hasKey ? nullptr : "x"; }
    };

    StdMap map = {{"former", "value"}};
    EXPECT_FALSE(toStdMap(nullptr, &map));
    const auto broken = makePtr<Broken>();
    for (const bool hasKey : {false, true})
    {
        broken->hasKey = hasKey;
        EXPECT_FALSE(toStdMap(broken.get(), &map));
    }
    EXPECT_EQ(map, (StdMap{{"former", "value"}}));
    EXPECT_TRUE(toStdMap(makePtr<StringMap>(StdMap{{"a", "1"}, {"b", ""}}).get(), &map));
    EXPECT_EQ(map, (StdMap{{"a", "1"}, {"b", ""}}));
}

TEST(SettingsResponse, hasWhatWasSet)
{
    const auto response = makePtr<SettingsResponse>();
    EXPECT_TRUE(!response->values() && !response->errors() && !response->model());
    response->setValue("a", "1");
    response->setValue("b", "2");
    response->setError("a", "wrong");
    response->setModel("{}");
    const Ptr<const IStringMap> values(response->values());
    EXPECT_STREQ(values->value("a"), "1");
    EXPECT_EQ(values->count(), 2);
    EXPECT_STREQ(Ptr(response->errors())->value("a"), "wrong");
    EXPECT_STREQ(Ptr(response->model())->str(), "{}");
    response->setValues(StdMap{{"c", "3"}});
    response->setErrors(makePtr<StringMap>());
    EXPECT_STREQ(Ptr(response->values())->value("c"), "3");
    EXPECT_EQ(Ptr(response->errors())->count(), 0);
    EXPECT_STREQ(values->value("a"), "1") << "the host's own by now";
}

TEST(ToString, namesCodesAndTakesNull)
{
    std::string names;
    for (const int code : {0, -1, -21, -22, -100, -102, -103, -1000, -1001, 1})
        names += toString(static_cast<ErrorCode>(code)) + " ";
    EXPECT_EQ(
        names,
        "noError unauthorized notImplemented networkError otherError needMoreData inProgress "
        "internalError invalidParams <unsupported Error> ");
    names.clear();
    for (int level = -1; level < 4; ++level)
        names += toString(static_cast<IIntegrationDiagnosticEvent::Level>(level)) + " ";
    EXPECT_EQ(names, "unknown(-1) info warning error unknown(3) ");
    const auto areNull = []<class... Interfaces>(const Interfaces*... none)
    { return ((toJsonString(none) == "null") && ...); };
    using namespace analytics;
    EXPECT_TRUE(areNull(
        static_cast<const IDeviceInfo*>(nullptr), static_cast<const IAttribute*>(nullptr),
        static_cast<const IIntegrationDiagnosticEvent*>(nullptr),
        static_cast<const IObjectMetadata*>(nullptr), static_cast<const IEventMetadata*>(nullptr),
        static_cast<const IObjectMetadataPacket*>(nullptr),
        static_cast<const IEventMetadataPacket*>(nullptr)));
}

} // namespace

} // namespace tavo::sdk
