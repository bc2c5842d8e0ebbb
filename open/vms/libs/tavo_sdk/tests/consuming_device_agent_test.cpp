#include <tavo/sdk/analytics/helpers/consuming_device_agent.h>

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>

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
        ConsumingDeviceAgent(makePtr<test::DeviceInfo>().get(), enableOutput)
    {}

    using ConsumingDeviceAgent::currentSettings;
    using ConsumingDeviceAgent::deviceInfo;
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

TEST(ConsumingDeviceAgent, answersToItsNames)
{
    const auto agent = makePtr<TestAgent>();
    for (const char* const id :
         {"tavo::sdk::analytics::IConsumingDeviceAgent",
          "tavo::sdk::analytics::IConsumingDeviceAgent1",
          "tavo::sdk::analytics::IConsumingDeviceAgent2", "tavo::sdk::analytics::IDeviceAgent",
          "tavo::sdk::IRefCountable"})
        EXPECT_EQ(Ptr(agent->queryInterface(id)).get(), agent.get()) << id;
    EXPECT_EQ(test::takeText(agent->manifest()), "{}");
    EXPECT_STREQ(agent->deviceInfo()->name(), "Gate");
}

TEST(ConsumingDeviceAgent, sortsPacketsAndSaysWhatFailed)
{
    using Packet = Ptr<IDataPacket>;
    const struct
    {
        const char* name;
        Packet packet;
        bool hasHandler;
        bool pushResult;
        bool pullResult;
        const char* calls;
        ErrorCode code;
        const char* message;
    } kCases[] = {
        {"compressed", makePtr<test::CompressedPacket>(), true, true, true, "cp",
         ErrorCode::noError, ""},
        {"frame", makePtr<test::Frame>(0), true, true, true, "up", ErrorCode::noError, ""},
        {"custom", makePtr<test::CustomPacket>(), true, true, true, "mp", ErrorCode::noError, ""},
        {"null", nullptr, true, true, true, "", ErrorCode::invalidParams,
         "dataPacket is null; discarding it."},
        {"time before kind", makePtr<test::UnknownPacket>(-1), true, true, true, "",
         ErrorCode::invalidParams, "dataPacket has invalid timestamp -1; discarding the packet."},
        {"unknown", makePtr<test::UnknownPacket>(), true, true, true, "", ErrorCode::invalidParams,
         "Unsupported frame supplied; ignored."},
        {"compressed fails", makePtr<test::CompressedPacket>(), true, false, true, "c",
         ErrorCode::otherError, "pushCompressedVideoFrame() failed."},
        {"frame fails", makePtr<test::Frame>(1), true, false, true, "u", ErrorCode::otherError,
         "pushUncompressedVideoFrame() failed."},
        {"custom fails", makePtr<test::CustomPacket>(), true, false, true, "m",
         ErrorCode::otherError, "pushCustomMetadataPacket() failed."},
        {"no handler", makePtr<test::Frame>(1), false, true, true, "u", ErrorCode::internalError,
         "setHandler() was not called."},
        {"pull fails", makePtr<test::Frame>(1), true, true, false, "up", ErrorCode::otherError,
         "pullMetadataPackets() failed."}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const auto agent = makePtr<TestAgent>();
        const auto handler = makePtr<test::AgentHandler>();
        if (c.hasHandler)
            agent->setHandler(handler.get());
        agent->pushResult = c.pushResult;
        agent->pullResult = c.pullResult;
        agent->packetsToPull.push_back(makePacket(1));

        Result<void> result;
        testing::internal::CaptureStderr();
        agent->doPushDataPacket(&result, c.packet.get());
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(c.message));
        EXPECT_EQ(agent->calls, c.calls);
        EXPECT_EQ(result.errorCode, c.code);
        EXPECT_EQ(test::takeMessage(result), c.message);
        EXPECT_EQ(handler->packets.size(), result.isOk() ? 1u : 0u);
        EXPECT_TRUE(!c.packet || test::refCount(c.packet.get()) == 1u);
    }
}

TEST(ConsumingDeviceAgent, letsAnExceptionThroughAndTheFrameGo)
{
    const auto agent = makePtr<TestAgent>();
    agent->isThrowing = true;
    const auto frame = makePtr<test::Frame>(1);
    Result<void> result;
    EXPECT_THROW(agent->doPushDataPacket(&result, frame.get()), std::runtime_error);
    EXPECT_EQ(test::refCount(frame.get()), 1u);
    EXPECT_TRUE(result.isOk());
}

TEST(ConsumingDeviceAgent, saysNothingOnTheFramePathUnlessAsked)
{
    const auto frame = makePtr<test::Frame>(5);
    const auto handler = makePtr<test::AgentHandler>();
    for (const bool enableOutput : {false, true})
    {
        testing::internal::CaptureStderr();
        {
            const auto agent = makePtr<TestAgent>(enableOutput);
            agent->setHandler(handler.get());
            agent->packetsToPull.push_back(makePacket(1));
            Result<void> result;
            agent->doPushDataPacket(&result, frame.get());
            agent->finalize();
        }
        const std::string told = testing::internal::GetCapturedStderr();
        if (!enableOutput)
        {
            EXPECT_EQ(told, "");
            continue;
        }
        const std::string prefix = "[unnamed_lib_context_device_Gate] ";
        for (const char* const text :
             {"doPushDataPacket() BEGIN: timestamp 5\n",
              "processMetadataPackets(): Producing 1 metadata packet(s).\n",
              "processMetadataPacket(): Object metadata packet:\n{", "doPushDataPacket() END\n",
              "finalize()\n", "Destroyed\n"})
            EXPECT_THAT(told, HasSubstr(prefix + text));
    }
}

TEST(ConsumingDeviceAgent, handsMetadataOverWithItsReference)
{
    const auto agent = makePtr<TestAgent>();
    testing::internal::CaptureStderr();
    agent->pushMetadataPacket(makePacket(1));
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        HasSubstr("INTERNAL ERROR: setHandler() was not called; ignoring the packet\n"));

    const auto handler = makePtr<test::AgentHandler>();
    agent->setHandler(handler.get());
    agent->packetsToPull = {makePacket(1), nullptr, makePacket(-1)};
    testing::internal::CaptureStderr();
    Result<void> result;
    agent->doPushDataPacket(&result, makePtr<test::Frame>(1).get());
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_THAT(told, HasSubstr("(): WARNING: Null metadata packet 1 found; discarded.\n"));
    EXPECT_THAT(told, HasSubstr("(metadataPacket->timestampUs() >= 0)"));
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
    EXPECT_EQ(agent->settingValue("a"), "1");
    const Result<const ISettingsResponse*> failure = agent->setSettings(nullptr);
    EXPECT_EQ(failure.errorCode, ErrorCode::invalidParams);
    EXPECT_EQ(test::takeMessage(failure), "Settings are invalid");
    EXPECT_EQ(agent->calls, "s");
    EXPECT_EQ(agent->currentSettings(), settings);
}

TEST(ConsumingDeviceAgent, pushesManifestsAndEvents)
{
    using Level = IIntegrationDiagnosticEvent::Level;
    const auto agent = makePtr<TestAgent>();
    testing::internal::CaptureStderr();
    agent->pushManifest("lost");
    agent->pushIntegrationDiagnosticEvent(Level::info, "lost", "");
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_THAT(told, HasSubstr("ignoring the manifest\n"));
    EXPECT_THAT(
        told, HasSubstr("setHandler() was not called; ignoring Integration Diagnostic Event.\n"));

    const auto handler = makePtr<test::AgentHandler>();
    agent->setHandler(handler.get());
    agent->pushManifest("{}");
    agent->pushIntegrationDiagnosticEvent(Level::warning, "caption", "");
    EXPECT_THAT(handler->manifests, testing::ElementsAre("{}"));
    ASSERT_EQ(handler->events.size(), 1u);
    EXPECT_STREQ(handler->events[0]->caption(), "caption");
}

TEST(ConsumingDeviceAgent, leavesNothingBehind)
{
    const int former = test::DeviceInfo::alive();
    makePtr<TestAgent>().reset();
    EXPECT_EQ(test::DeviceInfo::alive(), former);
}

} // namespace

} // namespace tavo::sdk::analytics
