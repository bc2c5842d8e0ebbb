// Calls through the tables of virtual operations by number, as a host does that was built long
// before this library. Numbers count the destructor as one slot; this platform's compilers give it
// two entries.

#include <gtest/gtest.h>

#include <tavo/sdk/analytics/helpers/event_metadata.h>
#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>
#include <tavo/sdk/analytics/helpers/integration.h>
#include <tavo/sdk/analytics/helpers/object_metadata.h>
#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>
#include <tavo/sdk/helpers/action_response.h>
#include <tavo/sdk/helpers/active_setting_changed_response.h>
#include <tavo/sdk/helpers/attribute.h>
#include <tavo/sdk/helpers/integration_diagnostic_event.h>
#include <tavo/sdk/helpers/settings_response.h>

#include "host_doubles.h"

namespace tavo::sdk
{

namespace
{

using namespace analytics;

template <class R, class... Args>
R call(const IRefCountable* object, int slot, Args... args)
{
    constexpr int kExtraDestructorEntry = 1;
    using Operation = R (*)(const void*, Args...);
    void* const* const table = *reinterpret_cast<void* const* const*>(object);
    return reinterpret_cast<Operation>(table[slot + kExtraDestructorEntry])(object, args...);
}

std::string text(const IRefCountable* object, int slot)
{
    const char* const result = call<const char*>(object, slot);
    return result ? result : "";
}

std::string string(const IRefCountable* object, int slot)
{
    const Ptr<const IString> result(call<const IString*>(object, slot));
    return result ? result->str() : "";
}

TEST(SlotOrder, rootsAndTexts)
{
    const auto map = makePtr<StringMap>(test::StdMap{{"a", "1"}, {"b", "2"}});
    EXPECT_EQ(call<IRefCountable*>(map.get(), 1, "tavo::sdk::IStringMap"), map.get());
    EXPECT_EQ(call<std::uint32_t>(map.get(), 2), 3u);
    EXPECT_EQ(call<std::uint32_t>(map.get(), 3), 2u);
    EXPECT_EQ(call<std::uint32_t>(map.get(), 3), 1u);
    EXPECT_EQ(call<int>(map.get(), 4), 2);
    EXPECT_STREQ(call<const char*>(map.get(), 5, 1), "b");
    EXPECT_STREQ(call<const char*>(map.get(), 6, "a"), "1");
    EXPECT_STREQ(call<const char*>(map.get(), 7, 1), "2");

    EXPECT_EQ(text(makePtr<String>("text").get(), 4), "text");

    const auto attribute = makePtr<Attribute>("name", "value", 0.5F, 3);
    EXPECT_EQ(call<int>(attribute.get(), 4), 3);
    EXPECT_EQ(text(attribute.get(), 5), "name");
    EXPECT_EQ(text(attribute.get(), 6), "value");
    EXPECT_EQ(call<float>(attribute.get(), 7), 0.5F);
}

TEST(SlotOrder, utilityProvider)
{
    class Handler : public RefCountable<IUtilityProvider4::IHttpRequestCompletionHandler>
    {
    public:
        void execute(Result<const IString*> response) override
        {
            received = test::takeText(response);
        }
        std::string received;
    };

    const auto provider = makePtr<test::UtilityProvider>();
    EXPECT_EQ(text(provider.get(), 7), "server");
    EXPECT_EQ(call<const IString*>(provider.get(), 8), nullptr);
    const auto handler = makePtr<Handler>();
    call<void>(
        provider.get(), 10, std::int32_t(1), "/path", "GET", "mime", "body",
        static_cast<IRefCountable*>(handler.get()));
    EXPECT_EQ(handler->received, "1/pathGETmimebody");
    call<void>(handler.get(), 4, Result<const IString*>(new String("direct")));
    EXPECT_EQ(handler->received, "direct");
    EXPECT_EQ(text(provider.get(), 11), "token");
    EXPECT_EQ(string(provider.get(), 14), "/home");
}

TEST(SlotOrder, metadata)
{
    const auto object = makePtr<ObjectMetadata>();
    object->setTypeId("type");
    object->setConfidence(0.5F);
    const auto attribute = makePtr<Attribute>("name", "value");
    object->addAttribute(attribute);
    object->setTrackId(Uuid{{1}});
    object->setSubtype("subtype");
    object->setBoundingBox({1, 2, 3, 4});
    EXPECT_EQ(text(object.get(), 4), "type");
    EXPECT_EQ(call<float>(object.get(), 5), 0.5F);
    EXPECT_EQ(Ptr(call<const IAttribute*>(object.get(), 6, 0)), attribute);
    EXPECT_EQ(call<int>(object.get(), 7), 1);
    EXPECT_EQ(call<Uuid>(object.get(), 8), Uuid{{1}});
    EXPECT_EQ(text(object.get(), 9), "subtype");
    EXPECT_EQ(call<Rect>(object.get(), 10), (Rect{1, 2, 3, 4}));

    const auto event = makePtr<EventMetadata>();
    event->setTypeId("type");
    event->setCaption("caption");
    event->setDescription("description");
    event->setIsActive(true);
    event->setTrackId(Uuid{{2}});
    event->setKey("key");
    event->setRegionId(Uuid{{3}});
    EXPECT_EQ(text(event.get(), 4), "type");
    EXPECT_EQ(call<float>(event.get(), 5), 1.0F);
    EXPECT_EQ(call<const IAttribute*>(event.get(), 6, 0), nullptr);
    EXPECT_EQ(call<int>(event.get(), 7), 0);
    EXPECT_EQ(text(event.get(), 8), "caption");
    EXPECT_EQ(text(event.get(), 9), "description");
    EXPECT_TRUE(call<bool>(event.get(), 10));
    Uuid trackId;
    call<void>(event.get(), 11, &trackId);
    EXPECT_EQ(trackId, Uuid{{2}});
    EXPECT_EQ(text(event.get(), 12), "key");
    EXPECT_EQ(call<Uuid>(event.get(), 13), Uuid{{3}});
}

template <class Packet, class Item>
void checkPacketSlots()
{
    const auto packet = makePtr<Packet>();
    const auto item = makePtr<Item>();
    packet->setTimestampUs(5);
    packet->setDurationUs(6);
    packet->addItem(item);
    packet->setFlags(7);
    EXPECT_EQ(call<std::int64_t>(packet.get(), 4), 5);
    EXPECT_EQ(call<std::int64_t>(packet.get(), 5), 6);
    EXPECT_EQ(call<int>(packet.get(), 6), 1);
    EXPECT_EQ(Ptr(call<const Item*>(packet.get(), 7, 0)), item);
    EXPECT_EQ(call<std::uint32_t>(packet.get(), 8), 7u);
}

TEST(SlotOrder, packets)
{
    checkPacketSlots<ObjectMetadataPacket, ObjectMetadata>();
    checkPacketSlots<EventMetadataPacket, EventMetadata>();

    const auto frame = makePtr<test::Frame>(5);
    EXPECT_EQ(call<std::int64_t>(frame.get(), 4), 5);
    EXPECT_STREQ(call<const char*>(frame.get(), 5, 0), "RGBrgb");
    EXPECT_EQ(call<int>(frame.get(), 6), 2);
    EXPECT_EQ(call<int>(frame.get(), 7), 1);
    EXPECT_EQ(call<int>(frame.get(), 8, 0), 6);
}

TEST(SlotOrder, responses)
{
    const auto action = makePtr<ActionResponse>();
    action->setActionUrl("url");
    action->setMessageToUser("message");
    action->setUseDeviceCredentials(true);
    EXPECT_EQ(text(action.get(), 4), "url");
    EXPECT_EQ(text(action.get(), 5), "message");
    EXPECT_FALSE(call<bool>(action.get(), 6));
    EXPECT_TRUE(call<bool>(action.get(), 7));

    const auto settings = makePtr<SettingsResponse>();
    settings->setValue("a", "1");
    settings->setError("b", "2");
    settings->setModel("{}");
    EXPECT_STREQ(Ptr(call<const IStringMap*>(settings.get(), 4))->value("a"), "1");
    EXPECT_STREQ(Ptr(call<const IStringMap*>(settings.get(), 5))->value("b"), "2");
    EXPECT_EQ(string(settings.get(), 6), "{}");

    const auto changed = makePtr<ActiveSettingChangedResponse>();
    changed->setActionResponse(action);
    changed->setSettingsResponse(settings);
    EXPECT_EQ(Ptr(call<const IActionResponse*>(changed.get(), 4)), action);
    EXPECT_EQ(Ptr(call<const ISettingsResponse*>(changed.get(), 5)), settings);

    const auto event = makePtr<IntegrationDiagnosticEvent>(
        IIntegrationDiagnosticEvent::Level::warning, "caption", "description");
    EXPECT_EQ(call<std::int32_t>(event.get(), 4), 1);
    EXPECT_EQ(text(event.get(), 5), "caption");
    EXPECT_EQ(text(event.get(), 6), "description");
}

TEST(SlotOrder, integration)
{
    class TestIntegration : public Integration
    {
        Result<IEngine*> doObtainEngine() override { return {}; }
        std::string manifestString() const override { return "manifest"; }
    };

    const auto integration = makePtr<TestIntegration>();
    const auto provider = makePtr<test::UtilityProvider>();
    call<void>(integration.get(), 4, static_cast<IRefCountable*>(provider.get()));
    EXPECT_EQ(integration->utilityProvider(), provider);
    EXPECT_EQ(test::takeText(call<Result<const IString*>>(integration.get(), 5)), "manifest");
    EXPECT_TRUE(call<Result<IEngine*>>(integration.get(), 6).isOk());
    EXPECT_EQ(text(integration.get(), 7), "");
    EXPECT_TRUE(call<Result<IEngine*>>(integration.get(), 8).isOk());
    EXPECT_EQ(call<std::string>(integration.get(), 9), "manifest");
}

// What the last call was.
std::string g_called;

Result<const ISettingsResponse*> calledForSettings(const char* name)
{
    g_called = name;
    return {};
}

TEST(SlotOrder, engine)
{
    class TestEngine : public Engine
    {
    public:
        TestEngine() :
            Engine(/*enableOutput*/ false)
        {}
        void setEngineInfo(const IEngineInfo*) override { g_called = "setEngineInfo"; }
        Result<const ISettingsResponse*> pluginSideSettings() const override
        {
            return calledForSettings("pluginSideSettings");
        }
        bool isCompatible(const IDeviceInfo*) const override
        {
            g_called = "isCompatible";
            return true;
        }
        Result<IDeviceAgent*> doObtainDeviceAgent(const IDeviceInfo*) override
        {
            g_called = "doObtainDeviceAgent";
            return {};
        }
        void reservedOperation() override { g_called = "reservedOperation"; }
        std::string manifestString() const override { return "manifest"; }
        Result<const ISettingsResponse*> settingsReceived() override
        {
            return calledForSettings("settingsReceived");
        }
        using Engine::handler;
    };

    const auto engine = makePtr<TestEngine>();
    void* const null = nullptr;
    using Settings = Result<const ISettingsResponse*>;
    call<void>(engine.get(), 4, null);
    EXPECT_EQ(g_called, "setEngineInfo");
    EXPECT_TRUE(call<Settings>(engine.get(), 5, makePtr<StringMap>().get()).isOk());
    EXPECT_EQ(g_called, "settingsReceived");
    EXPECT_TRUE(call<Settings>(engine.get(), 6).isOk());
    EXPECT_EQ(g_called, "pluginSideSettings");
    EXPECT_EQ(test::takeText(call<Result<const IString*>>(engine.get(), 7)), "manifest");
    EXPECT_TRUE(call<bool>(engine.get(), 8, null));
    EXPECT_EQ(g_called, "isCompatible");
    EXPECT_TRUE(call<Result<IDeviceAgent*>>(engine.get(), 9, null).isOk());
    EXPECT_EQ(g_called, "doObtainDeviceAgent");
    Result<const IActionResponse*> action;
    call<void>(engine.get(), 10, &action, null);
    EXPECT_EQ(test::takeMessage(action), "Action is null");
    const auto handler = makePtr<test::EngineHandler>();
    call<void>(engine.get(), 11, static_cast<IRefCountable*>(handler.get()));
    EXPECT_EQ(engine->handler(), handler);
    call<void>(engine.get(), 12);
    EXPECT_EQ(g_called, "reservedOperation");
    EXPECT_EQ(call<std::string>(engine.get(), 13), "manifest");
    g_called.clear();
    EXPECT_TRUE(call<Settings>(engine.get(), 14).isOk());
    EXPECT_EQ(g_called, "settingsReceived");
}

TEST(SlotOrder, deviceAgent)
{
    class TestAgent : public ConsumingDeviceAgent
    {
    public:
        TestAgent() :
            ConsumingDeviceAgent(nullptr, /*enableOutput*/ false)
        {}
        Result<const ISettingsResponse*> pluginSideSettings() const override
        {
            return calledForSettings("pluginSideSettings");
        }
        void setNeededMetadataTypes(const IMetadataTypes*) override
        {
            g_called = "setNeededMetadataTypes";
        }
        void finalize() override { g_called = "finalize"; }
        void getSettingsOnActiveSettingChange(
            Result<const IActiveSettingChangedResponse*>*,
            const IActiveSettingChangedAction*) override
        {
            g_called = "getSettingsOnActiveSettingChange";
        }
        std::string manifestString() const override { return "manifest"; }
        bool pullMetadataPackets(MetadataPackets*) override
        {
            g_called = "pullMetadataPackets";
            return true;
        }
        Result<const ISettingsResponse*> settingsReceived() override
        {
            return calledForSettings("settingsReceived");
        }
        using ConsumingDeviceAgent::handler;
    };

    const auto agent = makePtr<TestAgent>();
    void* const null = nullptr;
    using Settings = Result<const ISettingsResponse*>;
    EXPECT_TRUE(call<Settings>(agent.get(), 4, makePtr<StringMap>().get()).isOk());
    EXPECT_EQ(g_called, "settingsReceived");
    EXPECT_TRUE(call<Settings>(agent.get(), 5).isOk());
    EXPECT_EQ(g_called, "pluginSideSettings");
    EXPECT_EQ(test::takeText(call<Result<const IString*>>(agent.get(), 6)), "manifest");
    const auto handler = makePtr<test::AgentHandler>();
    call<void>(agent.get(), 7, static_cast<IRefCountable*>(handler.get()));
    EXPECT_EQ(agent->handler(), handler);
    call<void>(agent.get(), 8, null);
    EXPECT_EQ(g_called, "setNeededMetadataTypes");
    Result<void> pushed;
    call<void>(agent.get(), 9, &pushed, null);
    EXPECT_EQ(test::takeMessage(pushed), "dataPacket is null; discarding it.");
    call<void>(agent.get(), 10);
    EXPECT_EQ(g_called, "finalize");
    call<void>(agent.get(), 11, null, null);
    EXPECT_EQ(g_called, "getSettingsOnActiveSettingChange");
    EXPECT_EQ(call<std::string>(agent.get(), 12), "manifest");
    EXPECT_TRUE(call<bool>(agent.get(), 16, null));
    EXPECT_EQ(g_called, "pullMetadataPackets");
    EXPECT_TRUE(call<Settings>(agent.get(), 17).isOk());
    EXPECT_EQ(g_called, "settingsReceived");

    call<void>(handler.get(), 4, static_cast<IRefCountable*>(new ObjectMetadataPacket));
    EXPECT_EQ(handler->packets.size(), 1u);
    const auto manifest = makePtr<String>("{}");
    call<void>(handler.get(), 6, static_cast<const IRefCountable*>(manifest.get()));
    EXPECT_EQ(handler->manifests.size(), 1u);
}

} // namespace

} // namespace tavo::sdk
