// A host that was compiled for Microsoft's ABI, from the same headers, and the library: each calls
// what the other implements.

#include <mutex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/analytics/helpers/event_metadata.h>
#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>
#include <tavo/sdk/analytics/helpers/object_metadata.h>
#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>
#include <tavo/sdk/analytics/i_action.h>
#include <tavo/sdk/analytics/i_compressed_video_packet.h>
#include <tavo/sdk/analytics/i_custom_metadata_packet.h>
#include <tavo/sdk/analytics/i_engine.h>
#include <tavo/sdk/analytics/i_metadata_types.h>
#include <tavo/sdk/analytics/i_uncompressed_video_frame.h>
#include <tavo/sdk/helpers/action_response.h>
#include <tavo/sdk/helpers/active_setting_changed_response.h>
#include <tavo/sdk/helpers/attribute.h>
#include <tavo/sdk/helpers/integration_diagnostic_event.h>
#include <tavo/sdk/helpers/settings_response.h>
#include <tavo/sdk/i_active_setting_changed_action.h>
#include <tavo/sdk/i_utility_provider.h>

#include "../../host/border.h"
#include "inference/protocol.h"
#include "result_message.h"
#include "temporary_folder.h"
#include "utils/sockets.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using namespace sdk;
using namespace sdk::analytics;
using testing::ElementsAre;
using testing::HasSubstr;

std::mutex calledMutex;
std::vector<std::string> called;

std::vector<std::string> takeCalled()
{
    const std::lock_guard lock(calledMutex);
    return std::exchange(called, {});
}

// The host's object, if it is an `Interface`, and only that.
template <class Interface>
Ptr<Interface> made()
{
    const Ptr<IRefCountable> object(makeHostObject(Interface::kInterfaceIds[0]));
    auto made = interfaceCast<Interface>(object);
    EXPECT_TRUE(made) << Interface::kInterfaceIds[0];
    EXPECT_FALSE(object->queryInterface("none"));
    return made;
}

template <class Interface>
void readByHost(const Ptr<Interface>& object)
{
    const std::uint32_t references = object->addRef();
    hostReads(Interface::kInterfaceIds[0], object.get());
    EXPECT_EQ(references - 1, object->releaseRef()) << Interface::kInterfaceIds[0];
}

template <class Metadata>
Ptr<Metadata> metadata()
{
    auto metadata = makePtr<Metadata>();
    metadata->setTypeId("typeId");
    metadata->setConfidence(0.5F);
    metadata->addAttribute(makePtr<Attribute>("name", "value", 0.75F, 5));
    metadata->setTrackId({{1, 2, 3}});
    return metadata;
}

template <class Packet, class Interface>
void readPacketByHost(const Ptr<Interface>& item)
{
    const auto packet = makePtr<Packet>();
    packet->setTimestampUs(7);
    packet->setDurationUs(8);
    packet->addItem(item);
    packet->setFlags(9);
    readByHost(packet);
}

std::string encoded(const test::Value& value)
{
    MpackGrowableWriter writer;
    value(writer.writer());
    (void)writer.close();
    return {writer.bytes().data(), writer.bytes().size()};
}

} // namespace

TEST(MicrosoftHostTest, readsWhatTheLibraryHandsOut)
{
    const auto text = makePtr<String>("str");
    readByHost<IString>(text);
    const auto map =
        makePtr<StringMap>(std::map<std::string, std::string>{{"a", "first"}, {"key", "value"}});
    readByHost<IStringMap>(map);
    readByHost<IAttribute>(makePtr<Attribute>("name", "value", 0.75F, 5));

    const auto page = makePtr<ActionResponse>();
    page->setActionUrl("actionUrl");
    page->setMessageToUser("messageToUser");
    page->setUseProxy(true);
    const auto settings = makePtr<SettingsResponse>();
    settings->setValues(map);
    settings->setModel("str");
    const auto response = makePtr<ActiveSettingChangedResponse>();
    response->setActionResponse(page);
    response->setSettingsResponse(settings);
    readByHost<IActiveSettingChangedResponse>(response);

    const auto object = metadata<ObjectMetadata>();
    object->setSubtype("subtype");
    object->setBoundingBox({1, 2, 3, 4});
    readPacketByHost<ObjectMetadataPacket>(object);
    const auto event = metadata<EventMetadata>();
    event->setCaption("caption");
    event->setDescription("description");
    event->setIsActive(true);
    event->setKey("key");
    event->setRegionId({{4, 5, 6}});
    readPacketByHost<EventMetadataPacket>(event);
}

TEST(MicrosoftHostTest, isAskedByTheLibrary)
{
    EXPECT_STREQ("str", made<IString>()->str());

    const auto map = made<IStringMap>();
    EXPECT_EQ(1, map->count());
    EXPECT_STREQ("key", map->key(0));
    EXPECT_STREQ("value", map->value("key"));
    EXPECT_STREQ("value", map->valueAt(0));

    const auto device = made<IDeviceInfo>();
    EXPECT_STREQ("{00010203-0405-0607-0809-0a0b0c0d0e0f}", device->id());
    EXPECT_STREQ("vendor", device->vendor());
    EXPECT_STREQ("model", device->model());
    EXPECT_STREQ("firmware", device->firmware());
    EXPECT_STREQ("name", device->name());
    EXPECT_STREQ("url", device->url());
    EXPECT_STREQ("login", device->login());
    EXPECT_STREQ("password", device->password());
    EXPECT_EQ(3, device->channelNumber());
    EXPECT_STREQ("sharedId", device->sharedId());
    EXPECT_STREQ("logicalId", device->logicalId());

    EXPECT_STREQ("id", made<IEngineInfo>()->id());
    EXPECT_STREQ("name", made<IEngineInfo>()->name());
    made<IMetadataTypes>();

    const auto action = made<IAction>();
    EXPECT_STREQ("actionId", action->actionId());
    EXPECT_EQ((Uuid{{1, 2, 3}}), action->objectTrackId());
    EXPECT_EQ((Uuid{{4, 5, 6}}), action->deviceId());
    EXPECT_EQ(7, action->timestampUs());
    EXPECT_STREQ("value", Ptr(action->params())->valueAt(0));

    const auto setting = made<IActiveSettingChangedAction>();
    EXPECT_STREQ("activeSettingName", setting->activeSettingName());
    EXPECT_STREQ("settingsValues", Ptr(setting->settingsValues())->valueAt(0));
    EXPECT_STREQ("params", Ptr(setting->params())->valueAt(0));

    EXPECT_EQ(1, made<IDataPacket>()->timestampUs());
    const auto frame = made<IUncompressedVideoFrame>();
    EXPECT_EQ(1, frame->timestampUs());
    EXPECT_STREQ("RGBrgb", frame->data(0));
    EXPECT_EQ(2, frame->width());
    EXPECT_EQ(3, frame->height());
    EXPECT_EQ(6, frame->lineSize(0));
    EXPECT_EQ(IUncompressedVideoFrame::PixelFormat::rgb, frame->pixelFormat());
    EXPECT_EQ(8, frame->planeCount());
    EXPECT_EQ(18, frame->dataSize(0));
    const auto expectBytes = [](const auto& packet)
    {
        EXPECT_EQ(1, packet->timestampUs());
        EXPECT_STREQ("codec", packet->codec());
        EXPECT_STREQ("data", packet->data());
        EXPECT_EQ(4, packet->dataSize());
    };
    expectBytes(made<ICompressedVideoPacket>());
    expectBytes(made<ICustomMetadataPacket>());
}

TEST(MicrosoftHostTest, isToldByTheLibrary)
{
    class Completion : public RefCountable<IUtilityProvider4::IHttpRequestCompletionHandler>
    {
    public:
        void execute(Result<const IString*> response) override
        {
            EXPECT_TRUE(response.isOk());
            text = Ptr(response.value)->str();
        }
        std::string text;
    };
    const auto provider = made<IUtilityProvider>();
    provider->reserved1();
    provider->reserved2();
    provider->reserved3();
    EXPECT_STREQ("serverId", provider->serverId());
    EXPECT_STREQ("cloudSystemId", Ptr(provider->cloudSystemId())->str());
    provider->reserved6();
    const auto completion = makePtr<Completion>();
    provider->sendHttpRequest(
        IUtilityProvider::HttpRequestKind::restApi, "/path", "PATCH", "application/json", "{}",
        completion.get());
    EXPECT_THAT(completion->text, HasSubstr("200 OK"));
    EXPECT_STREQ("", provider->cloudAuthToken());
    provider->reserved9();
    provider->reserved10();
    EXPECT_STREQ("homeDirectory", Ptr(provider->homeDirectory())->str());
    EXPECT_THAT(
        takeCalled(),
        ElementsAre(
            "reserved1", "reserved2", "reserved3", "reserved6", "sendHttpRequest", "reserved9",
            "reserved10"));

    const auto diagnosis = makePtr<IntegrationDiagnosticEvent>(
        IIntegrationDiagnosticEvent::Level::error, "caption", "description");
    made<IEngine::IHandler>()->handleIntegrationDiagnosticEvent(diagnosis.get());
    const auto handler = made<IDeviceAgent::IHandler>();
    handler->handleIntegrationDiagnosticEvent(diagnosis.get());
    handler->pushManifest(makePtr<String>("{}").get());
    EXPECT_THAT(
        takeCalled(), ElementsAre("event of an engine", "event of an agent", "pushManifest"));
}

TEST(MicrosoftHostTest, seesItsObjectsDestroyedByTheLibrary)
{
    IRefCountable* const object = makeHostObject(IString::kInterfaceIds[0]);
    EXPECT_EQ(1, livingHostObjects());
    EXPECT_EQ(object, object->deletingDestructor(1));
    EXPECT_EQ(0, livingHostObjects());
}

// The library in a folder of the test's own.
class MicrosoftHostRoad : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(hostLoads(TAVO_PLUGIN_FILE)); }
    ~MicrosoftHostRoad() override
    {
        hostEnds();
        takeCalled();
    }

    TemporaryFolder m_folder;
    ScopedTempPath m_temp{m_folder.path()};
    const char* m_text = "";
};

TEST_F(MicrosoftHostRoad, hasACameraServed)
{
    ASSERT_EQ(0, hostObtainsEngine(m_folder.path("home").c_str(), &m_text)) << m_text;
    hostServesACamera();
    EXPECT_THAT(takeCalled(), ElementsAre("sendHttpRequest", "pushManifest"));

    using namespace test;
    const std::string message = encoded(map(
        {{"InputIndex", number(0)},
         {"Timestamp", number(1000000)},
         {"Width", number(1000)},
         {"Height", number(500)},
         {"BBoxes_xyxy", map({{"car", boxes({250, 250, 375, 375})}})},
         {"Counts", map({{"car", number(2)}})},
         {"ObjectsMetaData",
          map(
              {{"car",
                map(
                    {{"ObjectIDs", array({binary("0123456789ab")})},
                     {"AttributeKeys", array({array({text("colour")})})},
                     {"AttributeValues", array({array({text("red")})})}})}})}}));
    const std::string path = m_folder.path(protocol::kPluginSocketFile);
    SocketHandle connection = kInvalidSocket;
    ASSERT_TRUE(comesTrue([&] { return (connection = socket_connect(path)) != kInvalidSocket; }));
    EXPECT_TRUE(socket_send_message(
        connection, message.data(), static_cast<std::uint32_t>(message.size())));
    socket_close(connection);
    std::vector<std::string> received;
    EXPECT_TRUE(comesTrue(
        [&]
        {
            for (std::string& call : takeCalled())
                received.push_back(std::move(call));
            return received.size() >= 2;
        }));
    EXPECT_THAT(received, ElementsAre("objects", "events"));

    EXPECT_EQ(
        int(ErrorCode::internalError), hostSets("loiterDetectionTimeThreshold", "soon", &m_text));
    EXPECT_STREQ("loiterDetectionTimeThreshold is no number of seconds: soon", m_text);
}

TEST_F(MicrosoftHostRoad, isToldOfWhatCannotBeMade)
{
    m_folder.write("file", "");
    EXPECT_EQ(
        int(ErrorCode::internalError), hostObtainsEngine(m_folder.path("file").c_str(), &m_text));
    EXPECT_THAT(m_text, HasSubstr("create_directories"));
    const ScopedTempPath nowhere(m_folder.path("nowhere"));
    EXPECT_EQ(
        int(ErrorCode::internalError), hostObtainsEngine(m_folder.path("home").c_str(), &m_text));
    EXPECT_THAT(m_text, HasSubstr("temp_directory_path"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix

void hostFailed(const char* file, int line, const char* condition)
{
    ADD_FAILURE_AT(file, line) << condition;
}

void hostCalled(const char* operation)
{
    using namespace tavo::vms_server_plugins::analytics::orlix;
    const std::lock_guard lock(calledMutex);
    called.emplace_back(operation);
}
