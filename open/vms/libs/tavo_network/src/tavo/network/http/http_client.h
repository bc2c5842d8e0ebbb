// A synchronous HTTP client whose caller pulls the body. It has no thread: work is done inside the
// calls, and while nobody pulls, the transfer rests, so that a body of any size passes through a
// buffer of fixed size.
//
// A request:
//     HttpClient client(ssl::kDefaultCertificateCheck);
//     if (!client.doGet(url) || client.response()->statusLine.statusCode != 200)
//         return false;
//     while (!client.eof())
//         file << client.fetchMessageBodyBuffer();
//
// HTTP/1.1 over plain TCP or TLS. Redirects are answers like any other and are not followed.
// Each call ends at the latest when nothing has come or gone for the time-out, the head of a
// response counting as nothing until it is whole, or when the system has given up looking for a
// host's name. One client belongs to one thread at a time but for stop(), and makes one request at
// a time; a new request ends the one before. No operation throws, other than for lack of memory.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <tavo/network/http/http_types.h>
#include <tavo/network/ssl/certificate_check.h>
#include <tavo/utils/url.h>

namespace tavo::network::http
{

class HttpClient
{
public:
    static constexpr std::chrono::milliseconds kDefaultTimeout{60'000};

    // Of fetchEntireMessageBody.
    static constexpr size_t kMaxEntireBodySize = 64 * 1024 * 1024;

    explicit HttpClient(ssl::CertificateCheck certificateCheck);
    ~HttpClient();

    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    // For the requests that follow: one limit for connecting, for each wait while nothing can be
    // sent, for the head of the response, and for each wait that brings nothing of its body. A body
    // that goes on coming may take as long as it likes. Zero and less mean the default.
    void setAllTimeouts(std::chrono::milliseconds timeout);

    // For the requests that follow, beside those of earlier calls. A name or value with a line
    // end or a null in it is dropped.
    void addAdditionalHeader(const std::string& name, const std::string& value);

    // For the requests that follow: a file in PEM of the only authorities that are believed. Empty
    // means those of certificate_check.h.
    void setCaBundle(const std::string& path);

    // True when the head of a response arrived, whatever its status. False with response() null
    // on failure: a URL that is not http or https, no connection, a certificate refused, silence.
    [[nodiscard]] bool doGet(const Url& url);
    [[nodiscard]] bool doPost(
        const Url& url, const std::string& contentType, const std::string& body);

    // The head of the last request's response, or null. Valid until the next request.
    const Response* response() const;

    // Why the last request has no response, or its body is not whole, in some words for people.
    // Empty as long as neither is so.
    std::string failure() const;

    // Waits for a byte of the body or its end. True at the end, also if the connection broke
    // before the body was whole, and without a response.
    [[nodiscard]] bool eof();

    // The bytes that have come since the last call, up to a few hundred KiB, waiting for some if
    // there are none. Empty at the end only.
    [[nodiscard]] std::string fetchMessageBodyBuffer();

    // From any thread: ends the request under way, as one that failed, and each later one at once.
    void stop();

    // What is left of the body. Nothing if there was no response, if the connection broke before
    // the body was whole, or if it is larger than kMaxEntireBodySize.
    [[nodiscard]] std::optional<std::string> fetchEntireMessageBody();

private:
    class Transfer;
    std::unique_ptr<Transfer> m_transfer;
};

} // namespace tavo::network::http
