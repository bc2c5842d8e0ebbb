// One client's connection to libcurl: a request at a time, driven by the thread that calls.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include <tavo/network/http/head_parser.h>
#include <tavo/network/http/http_client.h>

namespace tavo::network::http
{

struct PostBody
{
    const std::string& contentType;
    const std::string& bytes;
};

class HttpClient::Transfer
{
public:
    explicit Transfer(ssl::CertificateCheck certificateCheck);
    ~Transfer();

    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }
    void setCaBundle(const std::string& path) { m_caBundle = path; }
    void addHeader(const std::string& name, const std::string& value);

    // Ends the request before, if there is one, and runs until the head is there. `body` is null
    // for GET.
    bool start(const Url& url, const PostBody* body);

    const std::optional<Response>& response() const { return m_head.response(); }

    std::string failure() const;

    // Runs until there is a byte or nothing more will come, which makes it false.
    bool waitForBytes();

    // What has come since the last call.
    std::string takeBytes();

    // Whether the response has come to its proper end.
    bool isWhole() const { return m_result == CURLE_OK; }

    // Ends the request as one that failed; what has come of its body is dropped.
    void abandon();

    // From any thread: ends the request, and all later ones.
    void stop();

private:
    bool setOptions(const Url& url, const PostBody* body);

    // Runs until the request has ended, `isReached` says so, or nothing has moved for the time-out.
    template <class Condition>
    void runUntil(Condition isReached);
    void performStep();
    curl_off_t amountMoved() const;
    void end(CURLcode result);
    void endForStop();

    size_t onHeadLine(std::string_view line) noexcept;
    size_t onBytes(std::string_view bytes) noexcept;

    struct EasyDeleter
    {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    };

    struct MultiDeleter
    {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    struct ListDeleter
    {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;
    static void append(HeaderList* list, const std::string& line);

    const ssl::CertificateCheck m_certificateCheck;
    std::chrono::milliseconds m_timeout = kDefaultTimeout;
    std::string m_caBundle; // empty: the usual authorities
    std::vector<std::string> m_headerLines;
    std::atomic<bool> m_isStopped{false};

    // Of the current request. The handle is in `m_multi` as long as m_result is empty.
    HeaderList m_requestHeaders;
    HeadParser m_head;
    std::string m_bytes;
    std::array<char, CURL_ERROR_SIZE> m_errorText{}; // libcurl's
    bool m_isPaused = false;
    std::optional<CURLcode> m_result = CURLE_OK; // empty: goes on

    std::unique_ptr<CURLM, MultiDeleter> m_multi; // before the handle: outlives it
    std::unique_ptr<CURL, EasyDeleter> m_easy;
};

} // namespace tavo::network::http
