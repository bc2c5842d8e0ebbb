// The library's way to the server. Implemented by the host; any thread may call.
// Slots that the library never calls are there for the order alone and do nothing by default.
#pragma once

#include <stdint.h>

#include <tavo/sdk/i_string.h>
#include <tavo/sdk/result.h>

namespace tavo::sdk
{

class IUtilityProvider4 : public Interface<IUtilityProvider4>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IUtilityProvider4"};

    // Implemented by the library.
    class IHttpRequestCompletionHandler : public Interface<IHttpRequestCompletionHandler>
    {
    public:
        static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IHttpRequestCompletionHandler"};

        // the order is the ABI: append only

        // Called once, on a thread of the host's choosing, maybe before sendHttpRequest returns.
        // The text is the whole response with its head. The handler owns the references in
        // `response`.
        virtual void execute(Result<const IString*> response) = 0;
    };

    // Which part of the host a request goes to.
    enum class HttpRequestKind : int32_t
    {
        restApi = 1,
    };

    // the order is the ABI: append only

    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}

    virtual const char* serverId() const = 0;

    // Null when there is none; a string whose text is null counts as none, too.
    virtual const IString* cloudSystemId() const = 0;

    virtual void reserved6() {}

    // Starts a request with the server's own rights and returns at once. The host keeps `handler`
    // as long as it needs it.
    virtual void sendHttpRequest(
        HttpRequestKind kind, const char* path, const char* method, const char* mimeType,
        const char* body, IHttpRequestCompletionHandler* handler) const = 0;

    // Empty: no cloud connection. Null: a host that knows no cloud.
    virtual const char* cloudAuthToken() const = 0;
};

class IUtilityProvider : public Interface<IUtilityProvider, IUtilityProvider4>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IUtilityProvider"};

    // the order is the ABI: append only

    virtual void reserved9() {}
    virtual void reserved10() {}

    // A writable folder of the host's, UTF-8, without a slash at its end.
    virtual const IString* homeDirectory() const = 0;
};

} // namespace tavo::sdk
