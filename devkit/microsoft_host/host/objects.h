// The host's side of the interfaces.
#pragma once

#include <tavo/sdk/analytics/i_action.h>
#include <tavo/sdk/analytics/i_compressed_video_packet.h>
#include <tavo/sdk/analytics/i_custom_metadata_packet.h>
#include <tavo/sdk/analytics/i_engine.h>
#include <tavo/sdk/analytics/i_metadata_types.h>
#include <tavo/sdk/analytics/i_uncompressed_video_frame.h>
#include <tavo/sdk/i_active_setting_changed_action.h>
#include <tavo/sdk/i_lib_context.h>
#include <tavo/sdk/i_utility_provider.h>

#include "freestanding.h"

namespace host
{

using namespace tavo::sdk;
using namespace tavo::sdk::analytics;

// Texts are not owned and live as long as whoever has the object.
class Text : public Counted<IString>
{
public:
    explicit Text(const char* text) :
        m_text(text)
    {}
    const char* str() const override { return m_text; }

private:
    const char* const m_text;
};

class TextMap : public Counted<IStringMap>
{
public:
    TextMap(const char* key, const char* value) :
        m_key(key),
        m_value(value)
    {}
    int count() const override { return 1; }
    const char* key(int index) const override { return index == 0 ? m_key : nullptr; }
    const char* value(const char* key) const override { return is(key, m_key) ? m_value : nullptr; }
    const char* valueAt(int index) const override { return index == 0 ? m_value : nullptr; }

private:
    const char* const m_key;
    const char* const m_value;
};

// Answers every request at once with an empty record.
class Provider : public Counted<IUtilityProvider>
{
public:
    explicit Provider(const char* homeDirectory) :
        m_homeDirectory(homeDirectory)
    {}
    void reserved1() override { hostCalled("reserved1"); }
    void reserved2() override { hostCalled("reserved2"); }
    void reserved3() override { hostCalled("reserved3"); }
    const char* serverId() const override { return "serverId"; }
    const IString* cloudSystemId() const override { return new Text("cloudSystemId"); }
    void reserved6() override { hostCalled("reserved6"); }
    void sendHttpRequest(
        HttpRequestKind kind, const char* path, const char* method, const char* mimeType,
        const char* body, IHttpRequestCompletionHandler* handler) const override
    {
        CHECK(kind == HttpRequestKind::restApi && path[0] == '/' && method[0] == 'P');
        CHECK(is(mimeType, "application/json") && body[0] == '{');
        hostCalled("sendHttpRequest");
        handler->execute(new Text("HTTP/1.1 200 OK\r\n\r\n{}"));
    }
    const char* cloudAuthToken() const override { return ""; }
    void reserved9() override { hostCalled("reserved9"); }
    void reserved10() override { hostCalled("reserved10"); }
    const IString* homeDirectory() const override { return new Text(m_homeDirectory); }

private:
    const char* const m_homeDirectory;
};

class Device : public Counted<IDeviceInfo>
{
public:
    const char* id() const override { return "{00010203-0405-0607-0809-0a0b0c0d0e0f}"; }
    const char* vendor() const override { return "vendor"; }
    const char* model() const override { return "model"; }
    const char* firmware() const override { return "firmware"; }
    const char* name() const override { return "name"; }
    const char* url() const override { return "url"; }
    const char* login() const override { return "login"; }
    const char* password() const override { return "password"; }
    int32_t channelNumber() const override { return 3; }
    const char* sharedId() const override { return "sharedId"; }
    const char* logicalId() const override { return "logicalId"; }
};

class EngineInfo : public Counted<IEngineInfo>
{
public:
    const char* id() const override { return "id"; }
    const char* name() const override { return "name"; }
};

class MetadataTypes : public Counted<IMetadataTypes>
{};

class EngineHandler : public Counted<IEngine::IHandler>
{
public:
    void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* event) override;
};

// Expects the result that the test sends.
class AgentHandler : public Counted<IDeviceAgent::IHandler>
{
public:
    void handleMetadata(IMetadataPacket* metadataPacket) override;
    void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* event) override;
    void pushManifest(const IString* manifest) override;
};

class Action : public Counted<IAction>
{
public:
    const char* actionId() const override { return "actionId"; }
    Uuid objectTrackId() const override { return {{1, 2, 3}}; }
    Uuid deviceId() const override { return {{4, 5, 6}}; }
    int64_t timestampUs() const override { return 7; }
    const IStringMap* params() const override { return new TextMap("key", "value"); }
};

class ActiveSetting : public Counted<IActiveSettingChangedAction>
{
public:
    explicit ActiveSetting(const char* name) :
        m_name(name)
    {}
    const char* activeSettingName() const override { return m_name; }
    const IStringMap* settingsValues() const override
    {
        return new TextMap("visualise_car", "settingsValues");
    }
    const IStringMap* params() const override { return new TextMap("key", "params"); }

private:
    const char* const m_name;
};

template <class Interface>
class Packet : public Counted<Interface>
{
public:
    int64_t timestampUs() const override { return 1; }
};

template <class Interface>
class Bytes : public Packet<Interface>
{
public:
    const char* codec() const override { return "codec"; }
    const char* data() const override { return "data"; }
    int dataSize() const override { return 4; }
};

class Frame : public Packet<IUncompressedVideoFrame>
{
public:
    const char* data(int plane) const override { return plane == 0 ? "RGBrgb" : nullptr; }
    int width() const override { return 2; }
    int height() const override { return 3; }
    int lineSize(int plane) const override { return plane == 0 ? 6 : 0; }
    PixelFormat pixelFormat() const override { return PixelFormat::rgb; }
    int planeCount() const override { return 8; }
    int dataSize(int plane) const override { return plane == 0 ? 18 : 0; }
};

// Counts what the library has.
class Registry : public IRefCountableRegistry
{
public:
    void notifyCreated(const IRefCountable* object, uint32_t refCount) override
    {
        CHECK(object && refCount == 1);
        addTo(&m_count, 1);
    }
    void notifyDestroyed(const IRefCountable* object, uint32_t) override
    {
        CHECK(object);
        addTo(&m_count, -1);
    }
    int count() const { return m_count; }

private:
    int m_count = 0;
};

} // namespace host
