#pragma once

#include <tavo/network/http/http_client.h>

// Whom the plugin believes to be who they say they are, as the ini file has it. No state; nothing
// throws but for lack of memory.

namespace tavo::vms_server_plugins::analytics::orlix
{

// For the storage and the models' servers.
[[nodiscard]] network::ssl::CertificateCheck downloadCertificateCheck();

// To be called for every client before its first request.
void trustConfiguredAuthorities(network::http::HttpClient& client);

// Says in the log which of all that holds.
void logCertificateChecks();

} // namespace tavo::vms_server_plugins::analytics::orlix
