#pragma once

#include <stop_token>

#include <tavo/network/http/http_client.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// An HTTP client whose requests fail once `stop` is requested, whatever they wait for.
class StoppableClient : public network::http::HttpClient
{
public:
    StoppableClient(network::ssl::CertificateCheck check, const std::stop_token& stop) :
        HttpClient(check),
        m_stopping(stop, Stop{this})
    {}

private:
    struct Stop
    {
        HttpClient* client;
        void operator()() const noexcept { client->stop(); }
    };

    const std::stop_callback<Stop> m_stopping;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
