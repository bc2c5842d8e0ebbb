#pragma once

#include <string>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_utility_provider.h>

#include "records/records.h"
#include "records/rest_service.h"

namespace tavo::devkit
{

// The library's way into this host.
class UtilityProvider : public sdk::RefCountable<sdk::IUtilityProvider>
{
public:
    // The service is not owned and outlives the last reference to this object.
    UtilityProvider(SystemIdentity identity, std::string homeDirectory, RestService& restService);

    // IUtilityProvider4:
    const char* serverId() const override { return m_identity.serverId.c_str(); }
    const sdk::IString* cloudSystemId() const override;
    void sendHttpRequest(
        HttpRequestKind kind, const char* path, const char* method, const char* mimeType,
        const char* body, IHttpRequestCompletionHandler* handler) const override;
    const char* cloudAuthToken() const override { return m_identity.cloudAuthToken.c_str(); }

    // IUtilityProvider:
    const sdk::IString* homeDirectory() const override;

private:
    const SystemIdentity m_identity;
    const std::string m_homeDirectory;
    RestService& m_restService;
};

} // namespace tavo::devkit
