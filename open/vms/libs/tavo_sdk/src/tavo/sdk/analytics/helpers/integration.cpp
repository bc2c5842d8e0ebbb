#include <tavo/sdk/analytics/helpers/integration.h>

#include <sstream>
#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/output.h>
#include <tavo/sdk/helpers/string.h>

namespace tavo::sdk::analytics
{

namespace
{

void logLifeStage(const char* stage, const IIntegration* integration)
{
    atBorder(
        [&]
        {
            std::ostringstream line;
            line << makePrintPrefix(/*givenPrefix*/ {}, /*tag*/ {}, /*name*/ nullptr) << stage
                 << " IIntegration @" << static_cast<const void*>(integration) << " of "
                 << libContext().name();
            kit::printLine(line.str());
        });
}

} // namespace

Integration::Integration(std::string integrationManifest, CreateEngine createEngine) :
    m_integrationManifest(std::move(integrationManifest)),
    m_createEngine(std::move(createEngine))
{
    logLifeStage("Created", this);
}

Integration::~Integration()
{
    logLifeStage("Destroyed", this);
}

Ptr<IUtilityProvider> Integration::utilityProvider() const
{
    const std::lock_guard lock(m_mutex);
    return m_utilityProvider;
}

void Integration::setUtilityProvider(IUtilityProvider* utilityProvider)
{
    atBorder(
        [&]
        {
            Ptr<IUtilityProvider> provider =
                addRefToPtr(utilityProvider); // the former goes unlocked
            const std::lock_guard lock(m_mutex);
            std::swap(m_utilityProvider, provider);
        });
}

Result<const IString*> Integration::manifest() const
{
    return atBorder(
        [this]() -> Result<const IString*> {
            return new String(
                m_integrationManifest.empty() ? manifestString() : m_integrationManifest);
        });
}

Result<IEngine*> Integration::obtainEngine()
{
    return atBorder([this] { return makeEngine(); });
}

Result<IEngine*> Integration::makeEngine()
{
    if (m_createEngine)
    {
        if (IEngine* const engine = m_createEngine(this))
            return engine;
        const std::string message = "Unable to create Engine";
        logError(message);
        return error(ErrorCode::otherError, message);
    }

    const Result<IEngine*> result = doObtainEngine();
    if (!result.isOk())
    {
        const char* const message = result.errorMessage ? result.errorMessage->str() : nullptr;
        logError(message ? message : "");
    }
    return result;
}

const char* Integration::reservedText() const
{
    return "";
}

Result<IEngine*> Integration::doObtainEngine()
{
    const std::string message =
        "Either doObtainEngine() should be overridden, or the constructor with createEngine argument (deprecated) should be called.";
    kit::assertionFailed("false", message);
    return error(ErrorCode::internalError, message);
}

std::string Integration::manifestString() const
{
    kit::assertionFailed(
        "false",
        "Either manifestString() should be overridden, or the constructor with the integrationManifest argument (deprecated) should be called.");
    return {};
}

void Integration::logError(const std::string& text) const
{
    kit::printLine(std::string("ERROR: ") + libContext().name() + ": " + text);
}

} // namespace tavo::sdk::analytics
