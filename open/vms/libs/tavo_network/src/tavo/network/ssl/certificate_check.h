#pragma once

namespace tavo::network::ssl
{

enum class CertificateCheck
{
    verify, // against the system's authorities, and the name in the URL
    acceptAny, // no check at all: whoever answers is believed
};

// The authorities are those of the file that the environment names as CURL_CA_BUNDLE or
// SSL_CERT_FILE, else those of the system.
inline constexpr CertificateCheck kDefaultCertificateCheck = CertificateCheck::verify;

inline constexpr CertificateCheck kAcceptAnyCertificate = CertificateCheck::acceptAny;

} // namespace tavo::network::ssl
