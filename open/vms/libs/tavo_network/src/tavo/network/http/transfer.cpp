#include <tavo/network/http/transfer.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include <tavo/network/socket_guards.h>
#include <tavo/network/ssl/authorities.h>

namespace tavo::network::http
{

namespace
{

using Clock = std::chrono::steady_clock;

// Once this much waits to be pulled, the transfer rests.
constexpr size_t kMaxWaitingBytes = 256 * 1024;

// Of libcurl's own buffer.
constexpr long kReceiveBufferSize = 64 * 1024;

// How long one wait for the network may last before limits are looked at again.
constexpr std::chrono::milliseconds kMaxWait{1000};

void initialiseOnce()
{
    // Never undone: the host may use the library, too.
    static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(result); // a failure shows as no handle
}

// No proxy that the environment names can reach these.
bool isThisMachine(const std::string& host)
{
    return host == "localhost" || host == "127.0.0.1" || host == "[::1]";
}

bool isSafeInHead(const std::string& text)
{
    constexpr std::string_view kBreaking("\r\n\0", 3);
    return text.find_first_of(kBreaking) == std::string::npos;
}

} // namespace

HttpClient::Transfer::Transfer(ssl::CertificateCheck certificateCheck) :
    m_certificateCheck(certificateCheck)
{
    initialiseOnce();
    m_multi.reset(curl_multi_init());
}

HttpClient::Transfer::~Transfer()
{
    abandon();
}

void HttpClient::Transfer::addHeader(const std::string& name, const std::string& value)
{
    if (name.empty() || !isSafeInHead(name) || !isSafeInHead(value))
        return;
    // In libcurl's notation, a colon with nothing behind it takes a header away.
    m_headerLines.push_back(value.empty() ? name + ";" : name + ": " + value);
}

bool HttpClient::Transfer::start(const Url& url, const PostBody* body)
{
    abandon();
    m_head = {};
    m_bytes.clear();
    m_isPaused = false;

    if (m_isStopped || !setOptions(url, body) ||
        curl_multi_add_handle(m_multi.get(), m_easy.get()) != CURLM_OK)
    {
        m_result = url.isValid() ? CURLE_FAILED_INIT : CURLE_URL_MALFORMAT;
        return false;
    }
    m_result.reset();

    runUntil([this] { return m_head.response().has_value(); });
    return m_head.response().has_value();
}

bool HttpClient::Transfer::waitForBytes()
{
    if (m_bytes.empty() && m_isPaused && !m_result)
    {
        m_isPaused = false;
        curl_easy_pause(m_easy.get(), CURLPAUSE_CONT); // delivers what it had held back
    }
    runUntil([this] { return !m_bytes.empty(); });
    return !m_bytes.empty();
}

std::string HttpClient::Transfer::takeBytes()
{
    return std::exchange(m_bytes, {});
}

void HttpClient::Transfer::abandon()
{
    if (!m_result)
        end(CURLE_ABORTED_BY_CALLBACK);
    m_bytes.clear();
}

void HttpClient::Transfer::stop()
{
    m_isStopped = true;
    curl_multi_wakeup(m_multi.get());
}

bool HttpClient::Transfer::setOptions(const Url& url, const PostBody* body)
{
    m_errorText = {};
    m_easy.reset(curl_easy_init());
    if (!m_multi || !m_easy || !url.isValid())
        return false;

    bool areSet = true;
    const auto set = [this, &areSet](CURLoption option, auto value)
    { areSet = curl_easy_setopt(m_easy.get(), option, value) == CURLE_OK && areSet; };

    set(CURLOPT_URL, url.toString().c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_BUFFERSIZE, kReceiveBufferSize);
    if (isThisMachine(url.host()))
        set(CURLOPT_PROXY, "");

    // What the process is spared.
    set(CURLOPT_NOSIGNAL, 1L);
    set(
        CURLOPT_OPENSOCKETFUNCTION,
        +[](void* /*client*/, curlsocktype /*purpose*/, curl_sockaddr* address)
        { return openSocket(*address); });

    const bool verifies = m_certificateCheck == ssl::CertificateCheck::verify;
    set(CURLOPT_SSL_VERIFYPEER, verifies ? 1L : 0L);
    set(CURLOPT_SSL_VERIFYHOST, verifies ? 2L : 0L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    // Those that the system keeps, where no file is the usual place of them; elsewhere it does
    // nothing.
    set(CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_NATIVE_CA));
    if (const std::string authorities = m_caBundle.empty() ? ssl::authoritiesFile() : m_caBundle;
        !authorities.empty())
    {
        set(CURLOPT_CAINFO, authorities.c_str());
        set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
        set(CURLOPT_SSL_OPTIONS, 0L);
    }
    set(CURLOPT_ERRORBUFFER, m_errorText.data());

    set(CURLOPT_HEADERDATA, this);
    set(
        CURLOPT_HEADERFUNCTION,
        +[](char* bytes, size_t /*one*/, size_t size, void* self) -> size_t {
            return static_cast<Transfer*>(self)->onHeadLine({bytes, size}) ? size : 0;
        });
    set(CURLOPT_WRITEDATA, this);
    set(
        CURLOPT_WRITEFUNCTION,
        +[](char* bytes, size_t /*one*/, size_t size, void* self) -> size_t {
            return static_cast<Transfer*>(self)->onBytes({bytes, size});
        });

    m_requestHeaders.reset();
    if (body)
    {
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body->bytes.size()));
        set(CURLOPT_COPYPOSTFIELDS, body->bytes.data());
        append(&m_requestHeaders, "Expect:"); // a server that does not know it costs a second
        if (isSafeInHead(body->contentType))
            append(&m_requestHeaders, "Content-Type: " + body->contentType);
    }
    for (const std::string& line : m_headerLines)
        append(&m_requestHeaders, line);
    set(CURLOPT_HTTPHEADER, m_requestHeaders.get());

    return areSet;
}

template <class Condition>
void HttpClient::Transfer::runUntil(Condition isReached)
{
    curl_off_t formerAmount = amountMoved();
    Clock::time_point limit = Clock::now() + m_timeout;
    while (!m_result && !isReached())
    {
        if (m_isStopped)
            return endForStop();
        performStep();
        if (m_result || isReached())
            return;

        const Clock::time_point now = Clock::now();
        if (const curl_off_t amount = amountMoved(); amount != formerAmount)
        {
            formerAmount = amount;
            limit = now + m_timeout;
        }
        else if (now >= limit)
        {
            return end(CURLE_OPERATION_TIMEDOUT);
        }

        const auto wait = std::clamp(
            std::chrono::ceil<std::chrono::milliseconds>(limit - now), std::chrono::milliseconds(1),
            kMaxWait);
        if (curl_multi_poll(m_multi.get(), nullptr, 0, static_cast<int>(wait.count()), nullptr) !=
            CURLM_OK)
            return end(CURLE_FAILED_INIT);
    }
}

void HttpClient::Transfer::performStep()
{
    int runningCount = 0;
    if (curl_multi_perform(m_multi.get(), &runningCount) != CURLM_OK)
        return end(CURLE_FAILED_INIT);

    int waitingCount = 0;
    while (const CURLMsg* const message = curl_multi_info_read(m_multi.get(), &waitingCount))
    {
        if (message->msg == CURLMSG_DONE)
            return end(message->data.result);
    }
}

// Of the request and the response's body. Connecting counts for nothing, and neither does the
// head: a server could send it a byte at a time for ever.
curl_off_t HttpClient::Transfer::amountMoved() const
{
    long requestHead = 0;
    curl_off_t sent = 0;
    curl_off_t received = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_REQUEST_SIZE, &requestHead);
    curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_UPLOAD_T, &sent);
    curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_DOWNLOAD_T, &received);
    return requestHead + sent + received;
}

void HttpClient::Transfer::end(CURLcode result)
{
    curl_multi_remove_handle(m_multi.get(), m_easy.get());
    m_result = result;
}

// A look-up of a name cannot be ended. Its thread is left behind and ends by itself.
void HttpClient::Transfer::endForStop()
{
    keepLoaded(reinterpret_cast<const void*>(&curl_easy_init));
    curl_easy_setopt(m_easy.get(), CURLOPT_QUICK_EXIT, 1L);
    end(CURLE_ABORTED_BY_CALLBACK);
    m_bytes.clear();
}

std::string HttpClient::Transfer::failure() const
{
    if (m_result.value_or(CURLE_OK) == CURLE_OK)
        return {};
    return m_errorText.front() ? m_errorText.data() : curl_easy_strerror(*m_result);
}

// The two below are called by libcurl, through which no exception may pass.

size_t HttpClient::Transfer::onHeadLine(std::string_view line) noexcept
try
{
    return m_head.addLine(line) ? line.size() : 0;
}
catch (const std::bad_alloc&)
{
    return 0; // ends the transfer
}

size_t HttpClient::Transfer::onBytes(std::string_view bytes) noexcept
try
{
    if (m_bytes.size() >= kMaxWaitingBytes)
    {
        m_isPaused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    m_bytes.append(bytes);
    return bytes.size();
}
catch (const std::bad_alloc&)
{
    return 0; // ends the transfer
}

void HttpClient::Transfer::append(HeaderList* list, const std::string& line)
{
    if (curl_slist* const longer = curl_slist_append(list->get(), line.c_str()))
    {
        static_cast<void>(list->release());
        list->reset(longer);
    }
}

} // namespace tavo::network::http
