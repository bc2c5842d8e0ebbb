#include <tavo/sdk/analytics/helpers/engine.h>

#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/string.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/helpers/to_string.h>
#include <tavo/sdk/helpers/uuid.h>

namespace tavo::sdk::analytics
{

namespace
{

constexpr const char* kPrefixTag = "_engine";

std::string actionText(const IAction* action)
{
    const char* const actionId = action->actionId();
    const Ptr<const IStringMap> params(action->params());
    return std::string("Executing action:\n") + kIndent +
        "actionId: " + (actionId ? actionId : "") + "\n" + kIndent +
        "objectTrackId: " + toText(action->objectTrackId()) + "\n" + kIndent +
        "deviceId: " + toText(action->deviceId()) + "\n" + kIndent +
        "timestampUs: " + std::to_string(action->timestampUs()) + "\n" + kIndent +
        "params: " + toJsonString(params.get(), /*indentCount*/ 1);
}

} // namespace

Engine::Engine(bool enableOutput, std::string printPrefix) :
    m_output(enableOutput, makePrintPrefix(printPrefix, kPrefixTag, /*name*/ nullptr)),
    m_givenPrintPrefix(std::move(printPrefix))
{
    m_output.print("Created");
}

Engine::~Engine()
{
    m_output.print("Destroyed");
}

void Engine::setEngineInfo(const IEngineInfo* engineInfo)
{
    atBorder(
        [&]
        {
            m_output.setPrefix(makePrintPrefix(
                m_givenPrintPrefix, kPrefixTag, engineInfo ? engineInfo->name() : nullptr));
        });
}

Result<const ISettingsResponse*> Engine::setSettings(const IStringMap* settings)
{
    m_output.print("Received settings");

    return atBorder(
        [&]() -> Result<const ISettingsResponse*>
        {
            if (!m_hostState.setSettings(settings))
                return error(ErrorCode::invalidParams, "Unable to convert the input string map");
            return settingsReceived();
        });
}

Result<const ISettingsResponse*> Engine::pluginSideSettings() const
{
    return {};
}

Result<const IString*> Engine::manifest() const
{
    return atBorder([this]() -> Result<const IString*> { return new String(manifestString()); });
}

bool Engine::isCompatible(const IDeviceInfo* /*deviceInfo*/) const
{
    return true;
}

void Engine::doExecuteAction(Result<const IActionResponse*>* outResult, const IAction* action)
{
    if (kit::verify(outResult, "outResult"))
        *outResult = atBorder([&] { return execute(action); });
}

Result<const IActionResponse*> Engine::execute(const IAction* action)
{
    if (!action)
    {
        m_output.printAlways("doExecuteAction(): INTERNAL ERROR: action is null");
        return error(ErrorCode::invalidParams, "Action is null");
    }

    if (m_output.isPrinting())
        m_output.print(actionText(action));

    std::map<std::string, std::string> params;
    if (!toStdMap(Ptr<const IStringMap>(action->params()).get(), &params))
        return error(ErrorCode::invalidParams, "Invalid action parameters");

    return getSettingsOnActiveSettingChange(addRefToPtr(action), params);
}

void Engine::setHandler(IEngine::IHandler* handler)
{
    atBorder([&] { m_hostState.setHandler(handler); });
}

Result<const ISettingsResponse*> Engine::settingsReceived()
{
    return {};
}

Result<const IActionResponse*> Engine::getSettingsOnActiveSettingChange(
    Ptr<const IAction> action, const std::map<std::string, std::string>& /*params*/)
{
    action.reset();
    return {};
}

void Engine::pushIntegrationDiagnosticEvent(
    IIntegrationDiagnosticEvent::Level level, std::string caption, std::string description) const
{
    m_hostState.pushDiagnosticEvent(
        level, std::move(caption), std::move(description), m_output,
        "pushIntegrationDiagnosticEvent(): INTERNAL ERROR: setHandler() was not called; ignoring the Integration Diagnostic Event.");
}

} // namespace tavo::sdk::analytics
