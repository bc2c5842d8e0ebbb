#include <tavo/sdk/analytics/helpers/consuming_device_agent.h>

#include <regex>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/analytics/helpers/event_metadata.h>
#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>
#include <tavo/sdk/analytics/helpers/object_metadata.h>
#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>
#include <tavo/sdk/helpers/attribute.h>

#include "host_doubles.h"

namespace tavo::sdk::analytics
{

namespace
{

using ::testing::HasSubstr;

class TestAgent : public ConsumingDeviceAgent
{
public:
    explicit TestAgent(bool enableOutput = false) :
        ConsumingDeviceAgent(makePtr<test::DeviceInfo>().get(), enableOutput, "P")
    {}

    using ConsumingDeviceAgent::currentSettings;
    using ConsumingDeviceAgent::pushIntegrationDiagnosticEvent;
    using ConsumingDeviceAgent::pushManifest;
    using ConsumingDeviceAgent::pushMetadataPacket;
    using ConsumingDeviceAgent::settingValue;

    std::string calls; // a letter for each
    bool pushResult = true;
    bool pullResult = true;
    bool isThrowing = false;
    MetadataPackets packetsToPull;

protected:
    std::string manifestString() const override { return "{}"; }

    bool pushCompressedVideoFrame(Ptr<const ICompressedVideoPacket> /*videoPacket*/) override
    {
        calls += 'c';
        return pushResult;
    }

    bool pushUncompressedVideoFrame(Ptr<const IUncompressedVideoFrame> videoFrame) override
    {
        calls += 'u';
        EXPECT_EQ(test::refCount(videoFrame.get()), 2u); // the host's and ours
        if (isThrowing)
            throw std::runtime_error("lock failed");
        return pushResult;
    }

    bool pushCustomMetadataPacket(Ptr<const ICustomMetadataPacket> /*metadataPacket*/) override
    {
        calls += 'm';
        return pushResult;
    }

    bool pullMetadataPackets(MetadataPackets* outPackets) override
    {
        calls += 'p';
        EXPECT_TRUE(outPackets->empty());
        *outPackets = packetsToPull;
        return pullResult;
    }

    Result<const ISettingsResponse*> settingsReceived() override
    {
        calls += 's';
        return {};
    }
};

Ptr<IMetadataPacket> makePacket(std::int64_t timestampUs)
{
    auto packet = makePtr<ObjectMetadataPacket>();
    packet->setTimestampUs(timestampUs);
    return packet;
}

TEST(ConsumingDeviceAgent, sortsPacketsAndSaysWhatFailed)
{
    using Packet = Ptr<IDataPacket>;
    const struct
    {
        Packet packet;
        bool hasHandler;
        bool pushResult;
        bool pullResult;
        const char* calls;
        const char* message;
        bool isThrowing = false;
    } kCases[] = {
        {makePtr<test::CompressedPacket>(), true, true, true, "cp", ""},
        {makePtr<test::Frame>(0), true, true, true, "up", ""},
        {makePtr<test::CustomPacket>(), true, true, true, "mp", ""},
        {nullptr, true, true, true, "", "dataPacket is null; discarding it."},
        {makePtr<test::UnknownPacket>(-1), true, true, true, "",
         "dataPacket has invalid timestamp -1; discarding the packet."},
        {makePtr<test::UnknownPacket>(), true, true, true, "",
         "Unsupported frame supplied; ignored."},
        {makePtr<test::CompressedPacket>(), true, false, true, "c",
         "pushCompressedVideoFrame() failed."},
        {makePtr<test::Frame>(), true, false, true, "u", "pushUncompressedVideoFrame() failed."},
        {makePtr<test::CustomPacket>(), true, false, true, "m",
         "pushCustomMetadataPacket() failed."},
        {makePtr<test::Frame>(), false, true, true, "u", "setHandler() was not called."},
        {makePtr<test::Frame>(), true, true, false, "up", "pullMetadataPackets() failed."},
        {makePtr<test::Frame>(), true, true, true, "u", "lock failed", true}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(testing::Message() << c.calls << " " << c.message);
        const auto agent = makePtr<TestAgent>();
        const auto handler = makePtr<test::AgentHandler>();
        if (c.hasHandler)
            agent->setHandler(handler.get());
        agent->pushResult = c.pushResult;
        agent->pullResult = c.pullResult;
        agent->isThrowing = c.isThrowing;
        agent->packetsToPull.push_back(makePacket(1));

        Result<void> result;
        agent->doPushDataPacket(&result, c.packet.get());
        EXPECT_EQ(agent->calls, c.calls);
        EXPECT_EQ(result.isOk(), *c.message == '\0');
        EXPECT_EQ(test::takeMessage(result), c.message);
        EXPECT_TRUE(!c.isThrowing || result.errorCode == ErrorCode::internalError);
        EXPECT_EQ(handler->packets.size(), result.isOk() ? 1u : 0u);
        EXPECT_TRUE(!c.packet || test::refCount(c.packet.get()) == 1u);
    }
}

TEST(ConsumingDeviceAgent, goesOnAfterAHandlerThatThrows)
{
    class Handler : public test::AgentHandler
    {
        void handleMetadata(IMetadataPacket* metadataPacket) override
        {
            test::AgentHandler::handleMetadata(metadataPacket);
            throw std::runtime_error("disk full");
        }
        void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent*) override { throw 7; }
        void pushManifest(const IString*) override { throw std::bad_alloc(); }
    };
    const auto agent = makePtr<TestAgent>();
    const auto handler = makePtr<Handler>();
    agent->setHandler(handler.get());
    agent->packetsToPull = {makePacket(1), makePacket(2)};
    testing::internal::CaptureStderr();
    Result<void> result;
    agent->doPushDataPacket(&result, makePtr<test::Frame>(1).get());
    agent->pushIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent::Level::info, "", "");
    agent->pushManifest("{}");
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(result.isOk());
    EXPECT_EQ(handler->packets.size(), 2u);
    for (const char* const text : {"disk full", "Unknown error", "Not enough memory"})
        EXPECT_THAT(told, HasSubstr(text));
}

TEST(ConsumingDeviceAgent, handsMetadataOverWithItsReference)
{
    const auto agent = makePtr<TestAgent>();
    agent->pushMetadataPacket(makePacket(1)); // without a handler it is lost
    const auto handler = makePtr<test::AgentHandler>();
    agent->setHandler(handler.get());
    agent->packetsToPull = {makePacket(0), nullptr, makePacket(-1)};
    testing::internal::CaptureStderr();
    Result<void> result;
    agent->doPushDataPacket(&result, makePtr<test::Frame>(1).get());
    agent->pushMetadataPacket(nullptr);
    const std::string told = testing::internal::GetCapturedStderr();
    for (const char* const position : {"0", "1"})
    {
        EXPECT_THAT(
            told,
            HasSubstr(
                std::string("(): WARNING: Null metadata packet ") + position +
                " found; discarded.\n"));
    }
    EXPECT_NE(told.npos, told.find("ASSERTION FAILED"));
    EXPECT_EQ(told.find("ASSERTION FAILED"), told.rfind("ASSERTION FAILED")) << told;
    EXPECT_EQ(handler->packets.size(), 2u); // the strange time is only remarked on
    agent->packetsToPull.clear();
    for (const auto& packet : handler->packets)
        EXPECT_EQ(test::refCount(packet.get()), 1u);
}

TEST(ConsumingDeviceAgent, keepsSettings)
{
    const auto agent = makePtr<TestAgent>();
    const test::StdMap settings = {{"a", "1"}};
    EXPECT_TRUE(agent->setSettings(makePtr<StringMap>(settings).get()).isOk());
    const Result<const ISettingsResponse*> failure = agent->setSettings(nullptr);
    EXPECT_EQ(test::takeMessage(failure), "Settings are invalid");
    EXPECT_EQ(agent->calls, "s");
    EXPECT_EQ(agent->currentSettings(), settings);
    EXPECT_EQ(agent->settingValue("a"), "1");
    testing::internal::CaptureStderr();
    EXPECT_EQ(agent->settingValue("b"), "");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "[P_device_Gate] ERROR: Requested setting b is missing; implying empty string.\n");
}

TEST(ConsumingDeviceAgent, tellsItsLife)
{
    const auto attribute = makePtr<Attribute>("colour", "red");
    const auto object = makePtr<ObjectMetadata>();
    object->setTypeId("car");
    object->setConfidence(0.5F);
    object->setTrackId(Uuid{{1}});
    object->setSubtype("van");
    object->setBoundingBox({0.5F, 0, 0.25F, 1});
    object->addAttribute(attribute);
    object->addAttribute(makePtr<Attribute>("size", "3"));
    const auto objects = makePtr<ObjectMetadataPacket>();
    objects->setTimestampUs(5);
    objects->setDurationUs(6);
    objects->setFlags(7);
    objects->addItem(object);
    const auto event = makePtr<EventMetadata>();
    event->setTypeId("entry");
    event->setCaption("caption");
    event->setDescription("description");
    event->setIsActive(true);
    event->setTrackId(Uuid{{2}});
    event->setKey("key");
    const auto events = makePtr<EventMetadataPacket>();
    events->setTimestampUs(8);
    events->setDurationUs(-1);
    events->addItem(event);

    EXPECT_EQ("[P] ", makePrintPrefix("P", "", ""));
    testing::internal::CaptureStderr();
    {
        const auto agent = makePtr<TestAgent>(/*enableOutput*/ true);
        agent->packetsToPull = {objects, events, makePtr<test::UnknownMetadata>(9)};
        const auto handler = makePtr<test::AgentHandler>();
        Result<void> result;
        agent->pushManifest("{}");
        agent->pushIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent::Level::info, "", "");
        agent->setHandler(handler.get());
        agent->doPushDataPacket(&result, makePtr<test::Frame>(4).get());
        EXPECT_TRUE(agent->setSettings(makePtr<StringMap>().get()).isOk());
        agent->pushIntegrationDiagnosticEvent(
            IIntegrationDiagnosticEvent::Level::warning, "caption", "description");
        agent->finalize();
        agent->setHandler(nullptr);
        agent->pushMetadataPacket(objects);
        Result<const IActiveSettingChangedResponse*> answer(Error{ErrorCode::otherError, nullptr});
        agent->getSettingsOnActiveSettingChange(&answer, nullptr);
        EXPECT_TRUE(answer.isOk());
    }
    const std::string told = testing::internal::GetCapturedStderr();
    const std::string begin = R"([P_device_Gate] Created for device:
{
    "id": "{00010203-0405-0607-0809-0A0B0C0D0E0F}",
    "vendor": "vendor",
    "model": "model \"x\"\n",
    "firmware": "1.0\\\u001f",
    "name": "Gate",
    "url": "rtsp://camera",
    "login": "admin",
    "_password": "_hidden_",
    "channelNumber": 3,
    "sharedId": "shared",
    "logicalId": null
}
)";
    EXPECT_EQ(told.substr(0, begin.size()), begin);
    const std::regex lineInJson("\n +|\n(?=[}])");
    EXPECT_EQ(
        std::regex_replace(told.substr(begin.size()), lineInJson, " "),
        R"([P_device_Gate] pushManifest(): INTERNAL ERROR: setHandler() was not called; ignoring the manifest
[P_device_Gate] pushIntegrationDiagnosticEvent(): INTERNAL ERROR: setHandler() was not called; ignoring Integration Diagnostic Event.
[P_device_Gate] doPushDataPacket() BEGIN: timestamp 4
[P_device_Gate] processMetadataPackets(): Producing 3 metadata packet(s).
[P_device_Gate] processMetadataPacket(): Object metadata packet:
{ "timestampUs": 5, "durationUs": 6, "items": [ { "typeId": "car", "confidence": 0.5, "trackId": "01000000-0000-0000-0000-000000000000", "subtype": "van", "boundingBox": [0.5, 0, 0.25, 1], "attributes": [ { "name": "colour", "value": "red" }, { "name": "size", "value": "3" } ] } ], "flags": 7 }
[P_device_Gate] processMetadataPacket(): Event metadata packet:
{ "timestampUs": 8, "durationUs": -1, "items": [ { "typeId": "entry", "confidence": 1, "caption": "caption", "description": "description", "isActive": true, "trackId": "02000000-0000-0000-0000-000000000000", "key": "key", "regionId": "00000000-0000-0000-0000-000000000000", "attributes": [] } ], "flags": 0 }
[P_device_Gate] processMetadataPacket(): Unknown metadata packet at 9
[P_device_Gate] doPushDataPacket() END
[P_device_Gate] Received settings
[P_device_Gate] Producing Integration Diagnostic Event:
{ "level": "warning", "caption": "caption", "description": "description" }
[P_device_Gate] finalize()
[P_device_Gate] INTERNAL ERROR: setHandler() was not called; ignoring the packet
[P_device_Gate] Destroyed
)");
}

} // namespace

} // namespace tavo::sdk::analytics
