// The part of a device agent that does not depend on what it does: takes the camera's packets and
// sorts them by kind, keeps settings and handler, hands metadata to the host. Any thread may call;
// the host pushes packets one at a time.
// What a subclass throws out of an operation that the base class calls is a failed result to the
// host; what the host's handler throws is logged.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <tavo/sdk/analytics/i_compressed_video_packet.h>
#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/analytics/i_custom_metadata_packet.h>
#include <tavo/sdk/analytics/i_device_info.h>
#include <tavo/sdk/analytics/i_uncompressed_video_frame.h>
#include <tavo/sdk/helpers/host_state.h>
#include <tavo/sdk/helpers/output.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk::analytics
{

class ConsumingDeviceAgent : public RefCountable<IConsumingDeviceAgent>
{
public:
    // IDeviceAgent:
    TAVO_RETURNS_OVERRIDE(
        Result<const ISettingsResponse*>, setSettings, const IStringMap* /*settings*/);
    TAVO_RETURNS_CONST_OVERRIDE(Result<const ISettingsResponse*>, pluginSideSettings);
    TAVO_RETURNS_CONST_OVERRIDE(Result<const IString*>, manifest);
    void setHandler(IDeviceAgent::IHandler* handler) override;

    // IConsumingDeviceAgent0:
    void setNeededMetadataTypes(const IMetadataTypes* metadataTypes) override;
    void doPushDataPacket(Result<void>* outResult, IDataPacket* dataPacket) override;

    // IConsumingDeviceAgent1:
    void finalize() override;

    // IConsumingDeviceAgent:
    void getSettingsOnActiveSettingChange(
        Result<const IActiveSettingChangedResponse*>* outResult,
        const IActiveSettingChangedAction* action) override;

protected:
    using MetadataPackets = std::vector<Ptr<IMetadataPacket>>;

    // `enableOutput`: whether lines that only tell what goes on are written. An empty prefix means
    // one made of the names of the library and the device.
    ConsumingDeviceAgent(
        const IDeviceInfo* deviceInfo, bool enableOutput, const std::string& printPrefix = {});
    ~ConsumingDeviceAgent() override;

    // the order is the ABI: append only

    // The manifest as JSON.
    virtual std::string manifestString() const = 0;

    // The packets of the stream, by kind. False makes the push fail.
    virtual bool pushCompressedVideoFrame(Ptr<const ICompressedVideoPacket> videoPacket);
    virtual bool pushUncompressedVideoFrame(Ptr<const IUncompressedVideoFrame> videoFrame);
    virtual bool pushCustomMetadataPacket(Ptr<const ICustomMetadataPacket> metadataPacket);

    // Called at the end of each push for metadata that is ready; appends it to `outPackets`, which
    // comes empty. False makes the push fail.
    virtual bool pullMetadataPackets(MetadataPackets* outPackets);

    // Called after new settings were stored; read them with settingValue or currentSettings.
    virtual Result<const ISettingsResponse*> settingsReceived();

    std::map<std::string, std::string> currentSettings() const { return m_hostState.settings(); }

    // The empty text, with an error logged, for a name that is not there.
    std::string settingValue(const std::string& name) const
    {
        return m_hostState.setting(name, m_output);
    }

    // Hands a packet to the host at any time; needs the handler.
    void pushMetadataPacket(Ptr<IMetadataPacket> metadataPacket) const;

    // Replaces the device's manifest, a JSON text; needs the handler.
    void pushManifest(const std::string& manifest) const;

    // Tells the people who run the server something; needs the handler.
    void pushIntegrationDiagnosticEvent(
        IIntegrationDiagnosticEvent::Level level, std::string caption,
        std::string description) const;

    // Null before the host has set it.
    Ptr<IDeviceAgent::IHandler> handler() const { return m_hostState.handler(); }

    const Ptr<const IDeviceInfo>& deviceInfo() const { return m_deviceInfo; }
    const Output& output() const { return m_output; }

private:
    Result<void> push(IDataPacket* dataPacket);
    Result<void> pushByKind(IDataPacket* dataPacket);
    Result<void> pullMetadata();
    void processMetadataPackets(MetadataPackets metadataPackets) const;
    void processMetadataPacket(Ptr<IMetadataPacket> metadataPacket, int position) const;

    const Output m_output;
    const Ptr<const IDeviceInfo> m_deviceInfo;
    HostState<IDeviceAgent::IHandler> m_hostState;
};

} // namespace tavo::sdk::analytics
