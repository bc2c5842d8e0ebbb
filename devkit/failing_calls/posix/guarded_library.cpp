#include "guarded_library.h"

#include <stdexcept>
#include <type_traits>

#include <tavo/sdk/helpers/ref_countable.h>

#include "failing_calls.h"

namespace tavo::devkit
{

namespace
{

using namespace sdk;
using namespace sdk::analytics;
using failing_calls::Outside;
using IHttpHandler = IUtilityProvider4::IHttpRequestCompletionHandler;

// An object behind a guard.
template <class Interface>
class Guarded
{
protected:
    Guarded(Ptr<Interface> object, const char* name, Findings& findings) :
        m_object(std::move(object)),
        m_findings(findings),
        m_name(name)
    {}
    ~Guarded()
    {
        enter("its end", [this] { m_object.reset(); });
    }

    // What the library gives, or false, or a failure.
    template <class Call>
    std::invoke_result_t<Call> enter(const char* what, Call call) const
    {
        try
        {
            const failing_calls::Inside inside;
            return call();
        }
        catch (const std::exception& error)
        {
            m_findings.add(std::string(m_name) + ", " + what + ", has thrown " + error.what());
        }
        if constexpr (std::is_constructible_v<std::invoke_result_t<Call>, Error>)
            return Error{ErrorCode::otherError, nullptr};
        else
            return std::invoke_result_t<Call>();
    }

    // For what gives its result by a pointer.
    template <class Value, class Call>
    void enter(const char* what, Result<Value>* result, Call call) const
    {
        *result = enter(
            what,
            [&]
            {
                Result<Value> given;
                call(&given);
                return given;
            });
    }

    Ptr<Interface> m_object;
    Findings& m_findings;

private:
    const char* const m_name;
};

class HttpHandler : public RefCountable<IHttpHandler>, Guarded<IHttpHandler>
{
public:
    HttpHandler(IHttpHandler* handler, Findings& findings) :
        Guarded(addRefToPtr(handler), "a handler", findings)
    {}

    void execute(sdk::Result<const IString*> response) override
    {
        enter("execute", [&] { m_object->execute(response); });
    }
};

class Provider : public RefCountable<IUtilityProvider>
{
public:
    Provider(IUtilityProvider* provider, Findings& findings) :
        m_provider(addRefToPtr(provider)),
        m_findings(findings)
    {}

    const char* serverId() const override { return m_provider->serverId(); }
    const IString* cloudSystemId() const override
    {
        const Outside outside;
        return m_provider->cloudSystemId();
    }
    void sendHttpRequest(
        HttpRequestKind kind, const char* path, const char* method, const char* mimeType,
        const char* body, IHttpRequestCompletionHandler* handler) const override
    {
        const Outside outside;
        const auto guarded = makePtr<HttpHandler>(handler, m_findings);
        m_provider->sendHttpRequest(kind, path, method, mimeType, body, guarded.get());
    }
    const char* cloudAuthToken() const override { return m_provider->cloudAuthToken(); }
    const IString* homeDirectory() const override
    {
        const Outside outside;
        return m_provider->homeDirectory();
    }

private:
    const Ptr<IUtilityProvider> m_provider;
    Findings& m_findings;
};

class AgentHandler : public RefCountable<IDeviceAgent::IHandler>
{
public:
    explicit AgentHandler(IDeviceAgent::IHandler* handler) :
        m_handler(addRefToPtr(handler))
    {}

    void handleMetadata(IMetadataPacket* packet) override
    {
        const Outside outside;
        m_handler->handleMetadata(packet);
    }
    void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* event) override
    {
        const Outside outside;
        m_handler->handleIntegrationDiagnosticEvent(event);
    }
    void pushManifest(const IString* manifest) override
    {
        const Outside outside;
        m_handler->pushManifest(manifest);
    }

private:
    const Ptr<IDeviceAgent::IHandler> m_handler;
};

// What engines and agents have alike.
template <class Interface>
class Configured : public RefCountable<Interface>, protected Guarded<Interface>
{
public:
    sdk::Result<const ISettingsResponse*> setSettings(const IStringMap* settings) override
    {
        return this->enter("setSettings", [&] { return this->m_object->setSettings(settings); });
    }
    sdk::Result<const ISettingsResponse*> pluginSideSettings() const override
    {
        return this->enter(
            "pluginSideSettings", [&] { return this->m_object->pluginSideSettings(); });
    }
    sdk::Result<const IString*> manifest() const override
    {
        return this->enter("manifest", [&] { return this->m_object->manifest(); });
    }

protected:
    using Guarded<Interface>::Guarded;
};

class Agent : public Configured<IConsumingDeviceAgent>
{
public:
    Agent(Ptr<IConsumingDeviceAgent> agent, Findings& findings) :
        Configured(std::move(agent), "an agent", findings)
    {}

    void setHandler(IHandler* handler) override
    {
        const auto guarded = makePtr<AgentHandler>(handler);
        enter("setHandler", [&] { m_object->setHandler(guarded.get()); });
    }
    void setNeededMetadataTypes(const IMetadataTypes* types) override
    {
        enter("setNeededMetadataTypes", [&] { m_object->setNeededMetadataTypes(types); });
    }
    void doPushDataPacket(sdk::Result<void>* result, IDataPacket* packet) override
    {
        enter(
            "doPushDataPacket", result,
            [&](auto* given) { m_object->doPushDataPacket(given, packet); });
    }
    void finalize() override
    {
        enter("finalize", [&] { m_object->finalize(); });
    }
    void getSettingsOnActiveSettingChange(
        sdk::Result<const IActiveSettingChangedResponse*>* result,
        const IActiveSettingChangedAction* action) override
    {
        enter(
            "getSettingsOnActiveSettingChange", result,
            [&](auto* given) { m_object->getSettingsOnActiveSettingChange(given, action); });
    }
};

class Engine : public Configured<IEngine>
{
public:
    Engine(Ptr<IEngine> engine, Findings& findings) :
        Configured(std::move(engine), "an engine", findings)
    {}

    void setEngineInfo(const IEngineInfo* info) override
    {
        enter("setEngineInfo", [&] { m_object->setEngineInfo(info); });
    }
    bool isCompatible(const IDeviceInfo* info) const override
    {
        return enter("isCompatible", [&] { return m_object->isCompatible(info); });
    }
    sdk::Result<IDeviceAgent*> doObtainDeviceAgent(const IDeviceInfo* info) override
    {
        const auto given =
            enter("doObtainDeviceAgent", [&] { return m_object->doObtainDeviceAgent(info); });
        if (!given.isOk())
            return given;
        auto agent = interfaceCast<IConsumingDeviceAgent>(Ptr(given.value));
        return makePtr<Agent>(std::move(agent), m_findings).releasePtr();
    }
    void doExecuteAction(
        sdk::Result<const IActionResponse*>* result, const IAction* action) override
    {
        enter(
            "doExecuteAction", result,
            [&](auto* given) { m_object->doExecuteAction(given, action); });
    }
    void setHandler(IHandler* handler) override
    {
        enter("setHandler", [&] { m_object->setHandler(handler); });
    }
    void reservedOperation() override { m_object->reservedOperation(); }
};

class Plugin : public RefCountable<analytics::IIntegration>, Guarded<analytics::IIntegration>
{
public:
    Plugin(Ptr<analytics::IIntegration> plugin, Findings& findings) :
        Guarded(std::move(plugin), "a plugin", findings)
    {}

    void setUtilityProvider(IUtilityProvider* provider) override
    {
        const auto guarded = makePtr<Provider>(provider, m_findings);
        enter("setUtilityProvider", [&] { m_object->setUtilityProvider(guarded.get()); });
    }
    sdk::Result<const IString*> manifest() const override
    {
        return enter("manifest", [&] { return m_object->manifest(); });
    }
    sdk::Result<IEngine*> obtainEngine() override
    {
        const auto given = enter("obtainEngine", [&] { return m_object->obtainEngine(); });
        if (!given.isOk())
            return given;
        return makePtr<Engine>(Ptr(given.value), m_findings).releasePtr();
    }
    const char* reservedText() const override { return m_object->reservedText(); }
};

} // namespace

LoadedEngine::MakePlugin guardedPlugin(Findings& findings)
{
    return [&findings](const Library& library) -> Ptr<analytics::IIntegration>
    {
        Ptr<analytics::IIntegration> plugin;
        try
        {
            const failing_calls::Inside inside;
            plugin = library.createPlugin();
        }
        catch (const std::bad_alloc&)
        {
            findings.add("createTavoPlugin has thrown");
            throw std::runtime_error("no plugin");
        }
        return makePtr<Plugin>(std::move(plugin), findings);
    };
}

} // namespace tavo::devkit
