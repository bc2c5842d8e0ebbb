#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/analytics/helpers/event_metadata.h>
#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>
#include <tavo/sdk/analytics/helpers/object_metadata.h>
#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>
#include <tavo/sdk/helpers/action_response.h>
#include <tavo/sdk/helpers/active_setting_changed_response.h>
#include <tavo/sdk/helpers/attribute.h>
#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/integration_diagnostic_event.h>
#include <tavo/sdk/helpers/settings_response.h>
#include <tavo/sdk/helpers/to_string.h>

#include "host_doubles.h"

namespace tavo::sdk
{

namespace
{

using test::refCount;
using test::StdMap;
using ::testing::HasSubstr;

// What a call writes to the debug stream.
template <class Call>
std::string told(Call call)
{
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

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

    EXPECT_THAT(told([&] { map->setItem("", "x"); }), HasSubstr("(!key.empty())"));
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

TEST(Error, isLoggedAndMakesAResult)
{
    Result<IRefCountable*> result;
    EXPECT_EQ(
        told([&] { result = error(ErrorCode::networkError, "No way"); }),
        "tavo::sdk::error(): No way\n");
    EXPECT_FALSE(result.isOk());
    EXPECT_EQ(result.errorCode, ErrorCode::networkError);
    EXPECT_EQ(test::takeMessage(result), "No way");

    const std::string complaints =
        told([] { test::takeMessage(Result<void>(error(ErrorCode::noError, ""))); });
    EXPECT_THAT(complaints, HasSubstr("Error code must differ from `ErrorCode::noError`"));
    EXPECT_THAT(complaints, HasSubstr("Error message must not be empty"));
}

TEST(Error, codesHaveNames)
{
    const std::pair<int, const char*> kCases[] = {
        {0, "noError"},
        {-1, "unauthorized"},
        {-21, "notImplemented"},
        {-22, "networkError"},
        {-100, "otherError"},
        {-102, "needMoreData"},
        {-103, "inProgress"},
        {-1000, "internalError"},
        {-1001, "invalidParams"},
        {-2, "<unsupported Error>"},
        {1, "<unsupported Error>"}};
    for (const auto& [code, name] : kCases)
        EXPECT_EQ(toString(static_cast<ErrorCode>(code)), name);
}

template <class Metadata>
class MetadataTest : public ::testing::Test
{};

using MetadataClasses = ::testing::Types<analytics::ObjectMetadata, analytics::EventMetadata>;
TYPED_TEST_SUITE(MetadataTest, MetadataClasses);

TYPED_TEST(MetadataTest, givesAttributesInRangeWithAReference)
{
    const auto metadata = makePtr<TypeParam>();
    const auto attribute = makePtr<Attribute>("name", "value");
    metadata->addAttribute(attribute);
    EXPECT_THAT(told([&] { metadata->addAttribute(nullptr); }), HasSubstr("(attribute)"));
    EXPECT_EQ(metadata->attributeCount(), 1);
    EXPECT_EQ(Ptr(metadata->attribute(0)), attribute);
    EXPECT_EQ(refCount(attribute.get()), 2u);
    EXPECT_EQ(metadata->attribute(1), nullptr);
    EXPECT_EQ(metadata->attribute(-1), nullptr);
}

TEST(EventMetadata, givesItsTrackThroughAPointer)
{
    const auto metadata = makePtr<analytics::EventMetadata>();
    metadata->setTrackId(Uuid{{7}});
    Uuid trackId;
    metadata->getTrackId(&trackId);
    EXPECT_EQ(trackId, Uuid{{7}});
    EXPECT_THAT(told([&] { metadata->getTrackId(nullptr); }), HasSubstr("(outValue)"));
}

TEST(MetadataPackets, giveItemsInRangeWithAReference)
{
    const auto objects = makePtr<analytics::ObjectMetadataPacket>();
    const auto object = makePtr<analytics::ObjectMetadata>();
    objects->addItem(object);
    EXPECT_THAT(told([&] { objects->addItem(nullptr); }), HasSubstr("(objectMetadata)"));
    EXPECT_EQ(objects->count(), 1);
    EXPECT_EQ(Ptr(objects->at(0)), object);
    EXPECT_EQ(objects->at(1), nullptr);
    EXPECT_EQ(objects->at(-1), nullptr);
    EXPECT_EQ(refCount(object.get()), 2u);

    const auto events = makePtr<analytics::EventMetadataPacket>();
    EXPECT_THAT(told([&] { events->addItem(nullptr); }), HasSubstr("(eventMetadata)"));
    EXPECT_NE(Ptr(events->queryInterface("tavo::sdk::analytics::IEventMetadataPacket1")), nullptr);
    EXPECT_EQ(events->queryInterface("tavo::sdk::analytics::IObjectMetadataPacket1"), nullptr);
}

TEST(Responses, partsThatWereNotSetAreNull)
{
    const auto settings = makePtr<SettingsResponse>();
    EXPECT_EQ(settings->values(), nullptr);
    EXPECT_EQ(settings->errors(), nullptr);
    EXPECT_EQ(settings->model(), nullptr);

    settings->setValue("a", "1");
    settings->setError("a", "too small");
    settings->setModel("{}");
    EXPECT_STREQ(Ptr(settings->values())->value("a"), "1");
    EXPECT_STREQ(Ptr(settings->errors())->value("a"), "too small");
    EXPECT_STREQ(Ptr(settings->model())->str(), "{}");
    settings->setValues(StdMap{{"b", "2"}});
    EXPECT_EQ(Ptr(settings->values())->value("a"), nullptr);

    const auto response = makePtr<ActiveSettingChangedResponse>();
    EXPECT_EQ(response->actionResponse(), nullptr);
    EXPECT_EQ(response->settingsResponse(), nullptr);
    const auto action = makePtr<ActionResponse>();
    EXPECT_STREQ(action->actionUrl(), "");
    response->setActionResponse(action);
    response->setSettingsResponse(settings);
    EXPECT_EQ(Ptr(response->actionResponse()), action);
    EXPECT_EQ(Ptr(response->settingsResponse()), settings);
    EXPECT_EQ(refCount(action.get()), 2u);
}

TEST(ToJsonString, writesWhatALogNeeds)
{
    EXPECT_EQ(
        toJsonString(makePtr<test::DeviceInfo>().get()),
        "{\n"
        "    \"id\": \"{00010203-0405-0607-0809-0A0B0C0D0E0F}\",\n"
        "    \"vendor\": \"vendor\",\n"
        "    \"model\": \"model \\\"x\\\"\\n\",\n"
        "    \"firmware\": \"1.0\",\n"
        "    \"name\": \"Gate\",\n"
        "    \"url\": \"rtsp://camera\",\n"
        "    \"login\": \"admin\",\n"
        "    \"_password\": \"_hidden_\",\n"
        "    \"channelNumber\": 3,\n"
        "    \"sharedId\": \"shared\",\n"
        "    \"logicalId\": null\n"
        "}");
    EXPECT_EQ(
        toJsonString(makePtr<StringMap>(StdMap{{"a", "\x01"}, {"b", "2"}}).get(), 1),
        "{\n        \"a\": \"\\u0001\",\n        \"b\": \"2\"\n    }");
    EXPECT_EQ(toJsonString(makePtr<StringMap>().get()), "{}");
    EXPECT_EQ(toJsonString(static_cast<IStringMap*>(nullptr)), "ERROR: stringMap is null");

    const auto level = static_cast<IIntegrationDiagnosticEvent::Level>(7);
    const auto event = makePtr<IntegrationDiagnosticEvent>(level, "cap", "desc");
    EXPECT_EQ(
        toJsonString(event.get()),
        "{\n    \"level\": \"unknown(7)\",\n    \"caption\": \"cap\",\n"
        "    \"description\": \"desc\"\n}");

    const auto object = makePtr<analytics::ObjectMetadata>();
    object->setTypeId("type");
    object->setBoundingBox({0.5F, 0.25F, 1, 0});
    object->addAttribute(makePtr<Attribute>("colour", "red"));
    const auto packet = makePtr<analytics::ObjectMetadataPacket>();
    packet->addItem(object);
    const std::string text = toJsonString(packet.get());
    EXPECT_THAT(text, HasSubstr("            \"boundingBox\": [0.5, 0.25, 1, 0],\n"));
    EXPECT_THAT(text, HasSubstr("                    \"name\": \"colour\",\n"));
}

} // namespace

} // namespace tavo::sdk
