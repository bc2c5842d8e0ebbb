#include <cstring>
#include <memory>

#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/ptr.h>

#include "bare_services.h"
#include "device_agent/device_agent.h"
#include "fake_device.h"
#include "fuzz_target.h"
#include "inference/plugin_socket_listener.h"
#include "temporary_folder.h"

using namespace tavo::vms_server_plugins::analytics::orlix;
namespace sdk = tavo::sdk;

namespace
{

// Takes what the host would get.
class CheckingHandler final : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    // IHandler:
    void handleMetadata(sdk::analytics::IMetadataPacket* packet) override
    {
        const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
        FUZZ_CHECK(packet->timestampUs() > 0);
        FUZZ_CHECK(packet->durationUs() > 0);
        if (const auto objects = sdk::interfaceCast<sdk::analytics::IObjectMetadataPacket>(owned))
            checkObjects(*objects);
        if (const auto events = sdk::interfaceCast<sdk::analytics::IEventMetadataPacket>(owned))
            checkEvents(*events);
    }
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString*) override {}

private:
    static void checkObjects(const sdk::analytics::IObjectMetadataPacket& objects)
    {
        FUZZ_CHECK(objects.count() <= 1 << 16);
        for (int i = 0; i < objects.count(); ++i)
        {
            const sdk::Ptr<const sdk::analytics::IObjectMetadata> object(objects.at(i));
            FUZZ_CHECK(object && std::strlen(object->typeId()) > 0);
            for (int j = 0; j < object->attributeCount(); ++j)
            {
                const sdk::Ptr<const sdk::IAttribute> attribute(object->attribute(j));
                FUZZ_CHECK(attribute && attribute->name() && attribute->value());
            }
        }
    }

    static void checkEvents(const sdk::analytics::IEventMetadataPacket& events)
    {
        for (int i = 0; i < events.count(); ++i)
        {
            const sdk::Ptr<const sdk::analytics::IEventMetadata> event(events.at(i));
            FUZZ_CHECK(event && event->typeId() && event->caption() && event->description());
        }
    }
};

// Delivers to one agent, whatever the index is.
class Receiver final : public ResultReceiver
{
public:
    explicit Receiver(DeviceAgent& agent) :
        m_agent(agent)
    {}

    // ResultReceiver:
    bool deliverResult(std::uint32_t, mpack_node_t root) override
    {
        m_agent.handleResultMessage(root);
        return true;
    }

private:
    DeviceAgent& m_agent;
};

// Bytes of the first of several messages; all of them where that is none.
std::size_t sizeOfFirst(std::span<const char> messages)
{
    mpack_tree_t tree;
    mpack_tree_init_data(&tree, messages.data(), messages.size());
    mpack_tree_set_limits(&tree, messages.size(), kMaxTreeNodes);
    mpack_tree_parse(&tree);
    const std::size_t size =
        mpack_tree_error(&tree) == mpack_ok ? mpack_tree_size(&tree) : messages.size();
    mpack_tree_destroy(&tree);
    return size;
}

} // namespace

// From the bytes of result messages, one behind the other, to the packets that the host gets. The
// last one comes twice, since an agent follows objects from result to result.
void tavo::fuzz::run(std::string_view text)
{
    constexpr int kMaxMessages = 16;
    static const TemporaryFolder folder;
    static BareServices services(folder.path());
    static const auto device = sdk::makePtr<FakeDevice>("{00010203-0405-0607-0809-0a0b0c0d0e0f}");
    static const auto handler = sdk::makePtr<CheckingHandler>();

    const auto agent = sdk::makePtr<DeviceAgent>(device.get(), 0, &services, folder.path());
    agent->setHandler(handler.get());
    Receiver receiver(*agent);
    MessageTree tree;
    std::span<const char> rest(text);
    std::span<const char> message;
    for (int i = 0; i < kMaxMessages && !rest.empty(); ++i)
    {
        message = rest.first(sizeOfFirst(rest));
        rest = rest.subspan(message.size());
        handleSocketMessage(receiver, message, tree);
    }
    handleSocketMessage(receiver, message, tree);
    static_cast<void>(services.takeRequests());
}
