#pragma once

#include <exception>
#include <string>

#include "agent_handler.h"
#include "failing_calls.h"
#include "findings.h"
#include "records/utility_provider.h"

// A host's side of the interfaces that says where the library begins and where it ends.

namespace tavo::devkit
{

// Has the library do something. What it throws is a finding. True if it has thrown nothing.
template <class Call>
bool inLibrary(Findings& findings, const char* what, Call call)
{
    try
    {
        const failing_calls::Inside inside;
        call();
        return true;
    }
    catch (const std::exception& error)
    {
        findings.add(std::string(what) + " has thrown " + error.what());
    }
    return false;
}

class GuardedCompletionHandler
    : public sdk::RefCountable<sdk::IUtilityProvider4::IHttpRequestCompletionHandler>
{
public:
    GuardedCompletionHandler(
        sdk::IUtilityProvider4::IHttpRequestCompletionHandler* handler, Findings& findings) :
        m_handler(sdk::addRefToPtr(handler)),
        m_findings(findings)
    {}
    ~GuardedCompletionHandler() override
    {
        inLibrary(m_findings, "releaseRef of a handler", [&] { m_handler.reset(); });
    }

    void execute(sdk::Result<const sdk::IString*> response) override
    {
        inLibrary(m_findings, "execute", [&] { m_handler->execute(response); });
    }

private:
    sdk::Ptr<sdk::IUtilityProvider4::IHttpRequestCompletionHandler> m_handler;
    Findings& m_findings;
};

class GuardedProvider : public UtilityProvider
{
public:
    GuardedProvider(
        SystemIdentity identity, std::string home, RestService& service, Findings& findings) :
        UtilityProvider(std::move(identity), std::move(home), service),
        m_findings(findings)
    {}

    const sdk::IString* cloudSystemId() const override
    {
        const failing_calls::Outside outside;
        return UtilityProvider::cloudSystemId();
    }
    void sendHttpRequest(
        HttpRequestKind kind, const char* path, const char* method, const char* mimeType,
        const char* body, IHttpRequestCompletionHandler* handler) const override
    {
        const failing_calls::Outside outside;
        const auto guarded = sdk::makePtr<GuardedCompletionHandler>(handler, m_findings);
        UtilityProvider::sendHttpRequest(kind, path, method, mimeType, body, guarded.get());
    }
    const sdk::IString* homeDirectory() const override
    {
        const failing_calls::Outside outside;
        return UtilityProvider::homeDirectory();
    }

private:
    Findings& m_findings;
};

class GuardedAgentHandler : public AgentHandler
{
public:
    using AgentHandler::AgentHandler;

    void handleMetadata(sdk::analytics::IMetadataPacket* metadataPacket) override
    {
        const failing_calls::Outside outside;
        AgentHandler::handleMetadata(metadataPacket);
    }
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent* event) override
    {
        const failing_calls::Outside outside;
        AgentHandler::handleIntegrationDiagnosticEvent(event);
    }
    void pushManifest(const sdk::IString* manifest) override
    {
        const failing_calls::Outside outside;
        AgentHandler::pushManifest(manifest);
    }
};

} // namespace tavo::devkit
