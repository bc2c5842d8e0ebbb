#include "remote/certificates.h"

#include "base/ini.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

network::ssl::CertificateCheck downloadCertificateCheck()
{
    return ini().verifyCertificates ? network::ssl::kDefaultCertificateCheck
                                    : network::ssl::kAcceptAnyCertificate;
}

void trustConfiguredAuthorities(network::http::HttpClient& client)
{
    client.setCaBundle(ini().caBundle);
}

void logCertificateChecks()
{
    log_info(
        ini().verifyCertificates
            ? "Certificates of download servers are checked.\n"
            : "Warning! Certificates of download servers are not checked (verifyCertificates is off).\n");
    if (*ini().caBundle)
        log_info("Certificate authorities are those of the file: %s\n", ini().caBundle);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
