#pragma once

namespace tavo::network::ssl
{

enum class CertificateCheck
{
    verify, // against trusted authorities, and the name in the URL
    acceptAny, // no check at all: whoever answers is believed
};

// authorities.h tells whose word is taken.
inline constexpr CertificateCheck kDefaultCertificateCheck = CertificateCheck::verify;

inline constexpr CertificateCheck kAcceptAnyCertificate = CertificateCheck::acceptAny;

} // namespace tavo::network::ssl
