// The library's top object, apart from what the plugin supplies: its manifest and its engine.
// The host hands over the utility provider before it asks for an engine.
#pragma once

#include <functional>
#include <mutex>
#include <string>

#include <tavo/sdk/analytics/i_integration.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk::analytics
{

class Integration : public RefCountable<IIntegration>
{
public:
    using CreateEngine = std::function<IEngine*(Integration*)>;

    // The host's interface to the server, or null before it was set. Any thread.
    Ptr<IUtilityProvider> utilityProvider() const;

    // sdk::IIntegration:
    void setUtilityProvider(IUtilityProvider* utilityProvider) override;

    // IIntegration:
    TAVO_RETURNS_CONST_OVERRIDE(Result<const IString*>, manifest);
    TAVO_RETURNS_OVERRIDE(Result<IEngine*>, obtainEngine);
    const char* reservedText() const override;

protected:
    // Both arguments are the older way to supply the two things. A subclass that gives none must
    // override the operations below.
    explicit Integration(std::string integrationManifest = {}, CreateEngine createEngine = {});
    ~Integration() override;

    // Makes an engine; called anew for each obtainEngine, which fails with what this throws.
    virtual Result<IEngine*> doObtainEngine();

    // The manifest as JSON.
    virtual std::string manifestString() const;

private:
    Result<IEngine*> makeEngine();
    void logError(const std::string& text) const;

    const std::string m_integrationManifest;
    const CreateEngine m_createEngine;
    mutable std::mutex m_mutex; // leaf, over m_utilityProvider
    Ptr<IUtilityProvider> m_utilityProvider;
};

} // namespace tavo::sdk::analytics
