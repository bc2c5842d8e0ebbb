#include "records/utility_provider.h"

#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/string.h>

namespace tavo::devkit
{

namespace
{

std::string copyText(const char* text)
{
    return text ? text : "";
}

} // namespace

UtilityProvider::UtilityProvider(
    SystemIdentity identity, std::string homeDirectory, RestService& restService) :
    m_identity(std::move(identity)),
    m_homeDirectory(std::move(homeDirectory)),
    m_restService(restService)
{}

const sdk::IString* UtilityProvider::cloudSystemId() const
{
    return m_identity.cloudSystemId.empty() ? nullptr : new sdk::String(m_identity.cloudSystemId);
}

void UtilityProvider::sendHttpRequest(
    HttpRequestKind kind, const char* path, const char* method, const char* /*mimeType*/,
    const char* body, IHttpRequestCompletionHandler* handler) const
{
    if (!handler)
        return;
    if (kind != HttpRequestKind::restApi)
    {
        handler->execute(sdk::error(sdk::ErrorCode::notImplemented, "Only the REST API is served"));
        return;
    }
    m_restService.submit(
        {copyText(path), copyText(method), copyText(body)}, sdk::addRefToPtr(handler));
}

const sdk::IString* UtilityProvider::homeDirectory() const
{
    return new sdk::String(m_homeDirectory);
}

} // namespace tavo::devkit
