#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/helpers/string.h>
#include <tavo/sdk/i_utility_provider.h>

#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The host's side of the utility provider, as a test wants it: says what it is told to say and
// keeps the requests that it got. Any thread may call, but for the setting up.
class FakeHost : public sdk::RefCountable<sdk::IUtilityProvider>
{
public:
    using Handler = sdk::IUtilityProvider4::IHttpRequestCompletionHandler;
    using Response = sdk::Result<const sdk::IString*>;

    struct Request
    {
        std::string path, method, body, mimeType;
    };

    // To be set up before use.
    std::string home = "/nowhere";
    std::function<std::string(const Request&)> body = [](const Request&) { return "{}"; };
    // Runs a request; by default answers at once with a head and what `body` says.
    std::function<void(const Request&, Handler*)> run = [this](const Request& request, Handler* to)
    { reply(to, "HTTP/1.1 200 OK\r\nContent-Type: text\r\n\r\n" + body(request)); };

    static void reply(Handler* handler, const std::string& text)
    {
        handler->execute(Response(new sdk::String(text)));
    }

    void setToken(std::optional<std::string> token)
    {
        MutexLock lock(m_mutex);
        m_token = std::move(token);
    }

    void setSite(std::optional<std::string> site)
    {
        MutexLock lock(m_mutex);
        m_site = std::move(site);
    }

    // Those whose method and path begin like that, all by default.
    std::vector<Request> requests(const std::string& begin = "") const
    {
        MutexLock lock(m_mutex);
        std::vector<Request> chosen = m_requests;
        std::erase_if(
            chosen,
            [&begin](const Request& request)
            { return !(request.method + " " + request.path).starts_with(begin); });
        return chosen;
    }

    // IUtilityProvider:
    const char* serverId() const override { return "server-1"; }

    const sdk::IString* cloudSystemId() const override
    {
        MutexLock lock(m_mutex);
        return m_site ? new sdk::String(*m_site) : nullptr;
    }

    void sendHttpRequest(
        HttpRequestKind, const char* path, const char* method, const char* mimeType,
        const char* requestBody, Handler* handler) const override
    {
        const Request request{path, method, requestBody, mimeType};
        {
            MutexLock lock(m_mutex);
            m_requests.push_back(request);
        }
        run(request, handler);
    }

    // Valid until the next setToken.
    const char* cloudAuthToken() const override
    {
        MutexLock lock(m_mutex);
        return m_token ? m_token->c_str() : nullptr;
    }

    const sdk::IString* homeDirectory() const override { return new sdk::String(home); }

private:
    mutable Mutex m_mutex;
    mutable std::vector<Request> m_requests GUARDED_BY(m_mutex);
    std::optional<std::string> m_token GUARDED_BY(m_mutex);
    std::optional<std::string> m_site GUARDED_BY(m_mutex) = "site-1";
};

} // namespace tavo::vms_server_plugins::analytics::orlix
