// The host at work with a library that it loads.

#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/analytics/i_integration.h>

#include "objects.h"

extern "C" {
__declspec(dllimport) void* LoadLibraryA(const char* file);
__declspec(dllimport) int FreeLibrary(void* library);
__declspec(dllimport) void* GetProcAddress(void* library, const char* name);
}

namespace host
{

namespace
{

// Without destructors, which would need more of a C library.
void* library = nullptr;
Registry* registry = nullptr; // lives on: it must outlive the library
analytics::IIntegration* plugin = nullptr;
IEngine* engine = nullptr;
IConsumingDeviceAgent* agent = nullptr;
const IString* failureText = nullptr; // of the last failure

template <class Function>
Function* find(const char* name)
{
    return reinterpret_cast<Function*>(GetProcAddress(library, name));
}

template <class Interface>
void release(Interface*& object)
{
    if (object)
        object->releaseRef();
    object = nullptr;
}

// Takes over what the result holds. Null for a failure, which fails the test.
template <class Value>
Value valueOf(const Result<Value>& result)
{
    CHECK(result.isOk());
    const Owned<const IString> message(result.errorMessage);
    return result.value;
}

// The code of a failure, or 0. The text is the test's until the next call.
template <class Value>
int failureOf(const Result<Value>& result, const char** text)
{
    release(failureText);
    failureText = result.errorMessage;
    *text = failureText ? failureText->str() : "";
    return int(result.errorCode);
}

bool begins(const IString* text, char first)
{
    const Owned<const IString> owned(text);
    return text && text->str()[0] == first;
}

bool hasDialog(const ISettingsResponse* response)
{
    return response && begins(response->model(), '{');
}

template <class Interface>
void push(Interface* newPacket)
{
    const Owned<Interface> packet(newPacket);
    Result<void> result;
    agent->doPushDataPacket(&result, packet.get());
    CHECK(result.isOk());
}

void workEngine()
{
    const Owned<EngineInfo> info(new EngineInfo);
    engine->setEngineInfo(info.get());
    const Owned<EngineHandler> handler(new EngineHandler);
    engine->setHandler(handler.get());
    CHECK(begins(valueOf(engine->manifest()), '{'));
    const Owned<TextMap> settings(new TextMap("key", "value"));
    CHECK(!valueOf(engine->setSettings(settings.get())));
    const Owned<const ISettingsResponse> drawn(valueOf(engine->pluginSideSettings()));
    CHECK(hasDialog(drawn.get()) && !drawn->values() && !drawn->errors());
    const Owned<Device> device(new Device);
    CHECK(engine->isCompatible(device.get()));
    const Owned<Action> action(new Action);
    Result<const IActionResponse*> result;
    engine->doExecuteAction(&result, action.get());
    CHECK(!valueOf(result));
    engine->reservedOperation();

    const Owned<IDeviceAgent> obtained(valueOf(engine->doObtainDeviceAgent(device.get())));
    agent = cast<IConsumingDeviceAgent>(obtained.get());
}

void workSettings()
{
    CHECK(begins(valueOf(agent->manifest()), '{'));
    const Owned<TextMap> settings(new TextMap("visualise_car", "true"));
    const Owned<const ISettingsResponse> answer(valueOf(agent->setSettings(settings.get())));
    CHECK(hasDialog(answer.get()) && !answer->errors());
    const Owned<const IStringMap> values(answer->values());
    CHECK(values->count() == 1 && is(values->value("visualise_car"), "true"));
    CHECK(is(values->key(0), "visualise_car") && is(values->valueAt(0), "true"));

    // A dialog that ends from this side, in the memory of the other.
    const ISettingsResponse* const drawn = valueOf(agent->pluginSideSettings());
    CHECK(hasDialog(drawn));
    delete drawn;
}

const IActiveSettingChangedResponse* press(const char* button)
{
    const Owned<ActiveSetting> action(new ActiveSetting(button));
    Result<const IActiveSettingChangedResponse*> result;
    agent->getSettingsOnActiveSettingChange(&result, action.get());
    return valueOf(result);
}

void workButtons()
{
    const Owned<const IActiveSettingChangedResponse> all(press("selectAllButton"));
    CHECK(!all->actionResponse());
    const Owned<const ISettingsResponse> settings(all->settingsResponse());
    CHECK(hasDialog(settings.get()));
    const Owned<const IStringMap> values(settings->values());
    CHECK(is(values->value("visualise_car"), "true"));

    const Owned<const IActiveSettingChangedResponse> page(press("manageDevice"));
    CHECK(!page->settingsResponse());
    const Owned<const IActionResponse> opened(page->actionResponse());
    CHECK(is(opened->actionUrl(), "") && is(opened->messageToUser(), ""));
    CHECK(!opened->useProxy() && !opened->useDeviceCredentials());
}

} // namespace

} // namespace host

using namespace host;

bool hostLoads(const char* libraryFile)
{
    library = LoadLibraryA(libraryFile);
    CHECK(library);
    if (!library)
        return false;
    CHECK(is(find<const char*()>("tavoSdkVersion")(), "6.1.3 R1"));
    ILibContext* const context = find<ILibContext*()>("tavoLibContext")();
    context->setName("tavo_orlix_manager_plugin");
    registry = new Registry;
    context->setRefCountableRegistry(registry);
    const Owned<TextMap> options(new TextMap("key", "value"));
    find<void(const IStringMap*)>("tavoSetUnitTestOptions")(options.get());

    const Owned<IPlugin> created(find<IPlugin*()>("createTavoPlugin")());
    CHECK(created->addRef() == 2 && created->releaseRef() == 1);
    CHECK(!created->queryInterface("tavo::sdk::analytics::IEngine"));
    CHECK(registry->count() == 1);
    plugin = cast<analytics::IIntegration>(created.get());
    CHECK(plugin && begins(valueOf(plugin->manifest()), '{') && is(plugin->reservedText(), ""));
    return plugin;
}

int hostObtainsEngine(const char* homeDirectory, const char** text)
{
    const Owned<Provider> provider(new Provider(homeDirectory));
    plugin->setUtilityProvider(provider.get());
    const Result<IEngine*> result = plugin->obtainEngine();
    engine = result.value;
    return failureOf(result, text);
}

void hostServesACamera()
{
    workEngine();
    CHECK(agent);
    if (!agent)
        return;
    const Owned<AgentHandler> handler(new AgentHandler);
    agent->setHandler(handler.get());
    const Owned<MetadataTypes> types(new MetadataTypes);
    agent->setNeededMetadataTypes(types.get());
    workSettings();
    workButtons();
    push(new Frame);
    push(new Bytes<ICompressedVideoPacket>);
    push(new Bytes<ICustomMetadataPacket>);
}

int hostSets(const char* setting, const char* value, const char** text)
{
    const Owned<TextMap> settings(new TextMap(setting, value));
    const Result<const ISettingsResponse*> result = agent->setSettings(settings.get());
    const Owned<const ISettingsResponse> answer(result.value);
    return failureOf(result, text);
}

void hostEnds()
{
    if (agent)
        agent->finalize();
    release(failureText);
    release(agent);
    release(engine);
    release(plugin);
    CHECK(registry->count() == 0);
    CHECK(FreeLibrary(library));
    CHECK(living == 0);
}
