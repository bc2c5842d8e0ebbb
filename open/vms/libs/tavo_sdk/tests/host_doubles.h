// The host's side of the interfaces, as plain records.
#pragma once

#include <string>
#include <vector>

#include <tavo/sdk/analytics/helpers/consuming_device_agent.h>
#include <tavo/sdk/analytics/helpers/engine.h>
#include <tavo/sdk/helpers/string_map.h>

namespace tavo::sdk::test
{

using StdMap = std::map<std::string, std::string>;

// The count of an object, without a change to it.
inline std::uint32_t refCount(const IRefCountable* object)
{
    object->addRef();
    return object->releaseRef();
}

// Takes over the message of a result.
template <class T>
std::string takeMessage(const Result<T>& result)
{
    const Ptr<const IString> message(result.errorMessage);
    return message ? message->str() : "";
}

template <class T>
std::string takeText(const Result<T>& result)
{
    const Ptr<const IString> value(result.value);
    return value ? value->str() : "";
}

// Counts itself, so that a test sees what is still alive.
template <class Interface>
class Counted : public RefCountable<Interface>
{
public:
    Counted() { ++s_alive; }
    ~Counted() override { --s_alive; }
    static int alive() { return s_alive; }

private:
    static inline int s_alive = 0;
};

class DeviceInfo : public Counted<analytics::IDeviceInfo>
{
public:
    const char* id() const override { return "{00010203-0405-0607-0809-0A0B0C0D0E0F}"; }
    const char* vendor() const override { return "vendor"; }
    const char* model() const override { return "model \"x\"\n"; }
    const char* firmware() const override { return "1.0\\\x1f"; }
    const char* name() const override { return "Gate"; }
    const char* url() const override { return "rtsp://camera"; }
    const char* login() const override { return "admin"; }
    const char* password() const override { return "secret"; }
    std::int32_t channelNumber() const override { return 3; }
    const char* sharedId() const override { return "shared"; }
    const char* logicalId() const override { return nullptr; }
};

template <class PacketInterface>
class Packet : public Counted<PacketInterface>
{
public:
    explicit Packet(std::int64_t timestampUs = 1) :
        m_timestampUs(timestampUs)
    {}
    std::int64_t timestampUs() const override { return m_timestampUs; }

private:
    const std::int64_t m_timestampUs;
};

// Packets of no kind that an agent knows.
using UnknownPacket = Packet<analytics::IDataPacket>;

class UnknownMetadata : public Packet<analytics::IMetadataPacket>
{
public:
    using Packet::Packet;
    std::int64_t durationUs() const override { return 0; }
};

class Frame : public Packet<analytics::IUncompressedVideoFrame>
{
public:
    using Packet::Packet;
    const char* data(int plane) const override { return plane == 0 ? "RGBrgb" : nullptr; }
    int width() const override { return 2; }
    int height() const override { return 1; }
    int lineSize(int /*plane*/) const override { return 6; }
    PixelFormat pixelFormat() const override { return PixelFormat::rgb; }
    int planeCount() const override { return 1; }
    int dataSize(int /*plane*/) const override { return 6; }
};

template <class PacketInterface>
class BytesPacket : public Packet<PacketInterface>
{
public:
    const char* codec() const override { return "codec"; }
    const char* data() const override { return ""; }
    int dataSize() const override { return 0; }
};

using CompressedPacket = BytesPacket<analytics::ICompressedVideoPacket>;
using CustomPacket = BytesPacket<analytics::ICustomMetadataPacket>;

class AgentHandler : public Counted<analytics::IDeviceAgent::IHandler>
{
public:
    void handleMetadata(analytics::IMetadataPacket* metadataPacket) override
    {
        packets.emplace_back(metadataPacket);
    }

    void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* /*event*/) override {}
    void pushManifest(const IString* /*manifest*/) override {}

    std::vector<Ptr<analytics::IMetadataPacket>> packets;
};

class EngineInfo : public Counted<analytics::IEngineInfo>
{
public:
    const char* id() const override { return "id"; }
    const char* name() const override { return "Site"; }
};

class Action : public Counted<analytics::IAction>
{
public:
    explicit Action(const Ptr<const IStringMap>& params) :
        m_params(params)
    {}
    const char* actionId() const override { return "wipe"; }
    TAVO_RETURNS_CONST_OVERRIDE(Uuid, objectTrackId) { return {{1}}; }
    TAVO_RETURNS_CONST_OVERRIDE(Uuid, deviceId) { return {{2}}; }
    std::int64_t timestampUs() const override { return 3; }
    const IStringMap* params() const override { return Ptr(m_params).releasePtr(); }

private:
    const Ptr<const IStringMap> m_params;
};

class EngineHandler : public Counted<analytics::IEngine::IHandler>
{
public:
    void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* /*event*/) override
    {
        ++events;
    }

    int events = 0;
};

} // namespace tavo::sdk::test
