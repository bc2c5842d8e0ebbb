#include <tavo/network/http/http_client.h>

#include <tavo/network/http/transfer.h>

namespace tavo::network::http
{

HttpClient::HttpClient(ssl::CertificateCheck certificateCheck) :
    m_transfer(std::make_unique<Transfer>(certificateCheck))
{}

HttpClient::~HttpClient() = default;

void HttpClient::setAllTimeouts(std::chrono::milliseconds timeout)
{
    m_transfer->setTimeout(timeout > timeout.zero() ? timeout : kDefaultTimeout);
}

void HttpClient::addAdditionalHeader(const std::string& name, const std::string& value)
{
    m_transfer->addHeader(name, value);
}

void HttpClient::setCaBundle(const std::string& path)
{
    m_transfer->setCaBundle(path);
}

bool HttpClient::doGet(const Url& url)
{
    return m_transfer->start(url, /*body*/ nullptr);
}

bool HttpClient::doPost(const Url& url, const std::string& contentType, const std::string& body)
{
    const PostBody postBody{contentType, body};
    return m_transfer->start(url, &postBody);
}

const Response* HttpClient::response() const
{
    return m_transfer->response() ? &*m_transfer->response() : nullptr;
}

std::string HttpClient::failure() const
{
    return m_transfer->failure();
}

bool HttpClient::eof()
{
    return !m_transfer->waitForBytes();
}

std::string HttpClient::fetchMessageBodyBuffer()
{
    m_transfer->waitForBytes();
    return m_transfer->takeBytes();
}

void HttpClient::stop()
{
    m_transfer->stop();
}

std::optional<std::string> HttpClient::fetchEntireMessageBody()
{
    if (!response())
        return std::nullopt;

    std::string body;
    while (!eof())
    {
        body += fetchMessageBodyBuffer();
        if (body.size() > kMaxEntireBodySize)
        {
            m_transfer->abandon();
            return std::nullopt;
        }
    }
    return m_transfer->isWhole() ? std::optional(std::move(body)) : std::nullopt;
}

} // namespace tavo::network::http
