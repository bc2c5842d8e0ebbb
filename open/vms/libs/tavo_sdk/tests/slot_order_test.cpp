// Calls through the tables of virtual operations by number, as a host does that was built long
// before this library. Numbers count the destructor as one slot.

#include <type_traits>

#include <gtest/gtest.h>

#include <tavo/sdk/analytics/helpers/event_metadata.h>
#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>
#include <tavo/sdk/analytics/helpers/integration.h>
#include <tavo/sdk/analytics/helpers/object_metadata.h>
#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>
#include <tavo/sdk/helpers/attribute.h>

#include "host_doubles.h"
#include "slot_call.h"

namespace tavo::sdk
{

namespace
{

using namespace analytics;
using test::call;

// What the operations from that slot on give.
template <class... Values>
void expectSlots(const IRefCountable* object, int slot, Values... expected)
{
    const auto expectNext = [&](auto value)
    {
        if constexpr (std::is_same_v<decltype(value), const char*>)
            EXPECT_STREQ(call<const char*>(object, slot++), value);
        else
            EXPECT_EQ(call<decltype(value)>(object, slot++), value);
    };
    (expectNext(expected), ...);
}

// What the last call was.
std::string g_called;

template <class R = void>
R called(const char* name)
{
    g_called = name;
    return R();
}

template <class R, class... Args>
void expectCall(const char* name, const IRefCountable* object, int slot, Args... args)
{
    static_cast<void>(call<R>(object, slot, args...));
    EXPECT_EQ(g_called, name);
}

void expectIds(const IRefCountable* object, std::initializer_list<const char*> ids)
{
    for (const char* const id : ids)
        EXPECT_EQ(Ptr(call<IRefCountable*>(object, 1, id)).get(), object) << id;
}

using Settings = Result<const ISettingsResponse*>;

TEST(SlotOrder, rootsAndTexts)
{
    const auto map = makePtr<StringMap>(test::StdMap{{"a", "1"}, {"b", "2"}});
    EXPECT_EQ(call<IRefCountable*>(map.get(), 1, "tavo::sdk::IStringMap"), map.get());
    expectSlots(map.get(), 2, 3u, 2u);
    expectSlots(map.get(), 3, 1u, 2);
    EXPECT_STREQ(call<const char*>(map.get(), 5, 1), "b");
    EXPECT_STREQ(call<const char*>(map.get(), 6, "a"), "1");
    EXPECT_STREQ(call<const char*>(map.get(), 7, 1), "2");
    expectSlots(makePtr<Attribute>("name", "value", 0.5F, 3).get(), 4, 3, "name", "value", 0.5F);
}

// Looks at the slots that all metadata has.
template <class Metadata>
Ptr<Metadata> makeMetadata()
{
    const auto metadata = makePtr<Metadata>();
    const auto attribute = makePtr<Attribute>("name", "value");
    metadata->setTypeId("type");
    metadata->addAttribute(attribute);
    metadata->setTrackId(Uuid{{1}});
    expectSlots(metadata.get(), 4, "type", 1.0F);
    EXPECT_EQ(Ptr(call<const IAttribute*>(metadata.get(), 6, 0)), attribute);
    for (const int outside : {-1, 1})
        EXPECT_EQ(call<const IAttribute*>(metadata.get(), 6, outside), nullptr);
    expectSlots(metadata.get(), 7, 1);
    return metadata;
}

TEST(SlotOrder, metadata)
{
    const auto object = makeMetadata<ObjectMetadata>();
    object->setSubtype("subtype");
    object->setBoundingBox({1, 2, 3, 4});
    expectSlots(object.get(), 8, Uuid{{1}}, "subtype", Rect{1, 2, 3, 4});

    const auto event = makeMetadata<EventMetadata>();
    event->setCaption("caption");
    event->setDescription("description");
    event->setIsActive(true);
    event->setKey("key");
    event->setRegionId(Uuid{{3}});
    expectSlots(event.get(), 8, "caption", "description", true);
    Uuid trackId;
    call<void>(event.get(), 11, &trackId);
    EXPECT_EQ(trackId, Uuid{{1}});
    expectSlots(event.get(), 12, "key", Uuid{{3}});
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
    expectSlots(packet.get(), 4, std::int64_t{5}, std::int64_t{6}, 1);
    EXPECT_EQ(Ptr(call<const Item*>(packet.get(), 7, 0)), item);
    EXPECT_EQ(call<const Item*>(packet.get(), 7, 1), nullptr);
    EXPECT_EQ(test::refCount(item.get()), 2u);
    expectSlots(packet.get(), 8, 7u);
}

TEST(SlotOrder, packets)
{
    checkPacketSlots<ObjectMetadataPacket, ObjectMetadata>();
    checkPacketSlots<EventMetadataPacket, EventMetadata>();

    const auto frame = makePtr<test::Frame>(5);
    expectSlots(frame.get(), 4, std::int64_t{5});
    EXPECT_STREQ(call<const char*>(frame.get(), 5, 0), "RGBrgb");
    expectSlots(frame.get(), 6, 2, 1);
    EXPECT_EQ(call<int>(frame.get(), 8, 0), 6);
}

TEST(SlotOrder, integration)
{
    class TestIntegration : public Integration
    {
        Result<IEngine*> doObtainEngine() override { return called<Result<IEngine*>>("engine"); }
        std::string manifestString() const override { return "manifest"; }
    };

    const auto integration = makePtr<TestIntegration>();
    expectIds(
        integration.get(),
        {"tavo::sdk::analytics::IIntegration", "tavo::sdk::analytics::IPlugin",
         "tavo::sdk::IIntegration", "tavo::sdk::IPlugin"});
    EXPECT_EQ(test::takeText(call<Result<const IString*>>(integration.get(), 5)), "manifest");
    expectCall<Result<IEngine*>>("engine", integration.get(), 6);
    if (test::baseClassesHaveNumbers)
    {
        EXPECT_EQ(call<std::string>(integration.get(), 9), "manifest");
    }
}

TEST(SlotOrder, engine)
{
    class TestEngine : public Engine
    {
    public:
        TestEngine() :
            Engine(/*enableOutput*/ false)
        {}
        void setEngineInfo(const IEngineInfo*) override { called("info"); }
        Settings pluginSideSettings() const override { return called<Settings>("pluginSide"); }
        bool isCompatible(const IDeviceInfo*) const override { return called<bool>("compatible"); }
        Result<IDeviceAgent*> doObtainDeviceAgent(const IDeviceInfo*) override
        {
            return called<Result<IDeviceAgent*>>("agent");
        }
        void reservedOperation() override { called("reserved"); }
        std::string manifestString() const override { return "manifest"; }
        Settings settingsReceived() override { return called<Settings>("received"); }
        using Engine::handler;
    };

    const auto engine = makePtr<TestEngine>();
    void* const null = nullptr;
    expectIds(engine.get(), {"tavo::sdk::analytics::IEngine", "tavo::sdk::analytics::IEngine1"});
    expectCall<void>("info", engine.get(), 4, null);
    expectCall<Settings>("received", engine.get(), 5, makePtr<StringMap>().get());
    expectCall<Settings>("pluginSide", engine.get(), 6);
    EXPECT_EQ(test::takeText(call<Result<const IString*>>(engine.get(), 7)), "manifest");
    expectCall<bool>("compatible", engine.get(), 8, null);
    expectCall<Result<IDeviceAgent*>>("agent", engine.get(), 9, null);
    Result<const IActionResponse*> action;
    call<void>(engine.get(), 10, &action, null);
    EXPECT_EQ(test::takeMessage(action), "Action is null");
    const auto handler = makePtr<test::EngineHandler>();
    call<void>(engine.get(), 11, static_cast<IRefCountable*>(handler.get()));
    EXPECT_EQ(engine->handler(), handler);
    EXPECT_EQ(test::refCount(handler.get()), 2u);
    expectCall<void>("reserved", engine.get(), 12);
    if (test::baseClassesHaveNumbers)
    {
        EXPECT_EQ(call<std::string>(engine.get(), 13), "manifest");
        expectCall<Settings>("received", engine.get(), 14);
    }
}

TEST(SlotOrder, deviceAgent)
{
    class TestAgent : public ConsumingDeviceAgent
    {
    public:
        TestAgent() :
            ConsumingDeviceAgent(nullptr, /*enableOutput*/ false)
        {}
        Settings pluginSideSettings() const override { return called<Settings>("pluginSide"); }
        void setNeededMetadataTypes(const IMetadataTypes*) override { called("types"); }
        void finalize() override { called("finalize"); }
        void getSettingsOnActiveSettingChange(
            Result<const IActiveSettingChangedResponse*>*,
            const IActiveSettingChangedAction*) override
        {
            called("active");
        }
        std::string manifestString() const override { return "manifest"; }
        bool pullMetadataPackets(MetadataPackets*) override { return called<bool>("pull"); }
        Settings settingsReceived() override { return called<Settings>("received"); }
        using ConsumingDeviceAgent::handler;
    };

    const auto agent = makePtr<TestAgent>();
    void* const null = nullptr;
    expectIds(
        agent.get(),
        {"tavo::sdk::analytics::IConsumingDeviceAgent",
         "tavo::sdk::analytics::IConsumingDeviceAgent1",
         "tavo::sdk::analytics::IConsumingDeviceAgent2", "tavo::sdk::analytics::IDeviceAgent"});
    expectCall<Settings>("received", agent.get(), 4, makePtr<StringMap>().get());
    expectCall<Settings>("pluginSide", agent.get(), 5);
    EXPECT_EQ(test::takeText(call<Result<const IString*>>(agent.get(), 6)), "manifest");
    const auto handler = makePtr<test::AgentHandler>();
    call<void>(agent.get(), 7, static_cast<IRefCountable*>(handler.get()));
    EXPECT_EQ(agent->handler(), handler);
    expectCall<void>("types", agent.get(), 8, null);
    Result<void> pushed;
    call<void>(agent.get(), 9, &pushed, null);
    EXPECT_EQ(test::takeMessage(pushed), "dataPacket is null; discarding it.");
    for (const Ptr<IDataPacket>& packet : std::initializer_list<Ptr<IDataPacket>>{
             makePtr<test::CompressedPacket>(), makePtr<test::Frame>(),
             makePtr<test::CustomPacket>()})
    {
        agent->doPushDataPacket(&pushed, packet.get());
        EXPECT_EQ(test::takeMessage(pushed), "pullMetadataPackets() failed."); // so it was taken
    }
    expectCall<void>("finalize", agent.get(), 10);
    expectCall<void>("active", agent.get(), 11, null, null);
    if (test::baseClassesHaveNumbers)
    {
        EXPECT_EQ(call<std::string>(agent.get(), 12), "manifest");
        expectCall<bool>("pull", agent.get(), 16, null);
        expectCall<Settings>("received", agent.get(), 17);
    }
}

} // namespace

} // namespace tavo::sdk
