#include <tavo/network/ssl/authorities.h>

namespace tavo::network::ssl
{

std::span<const char* const> authorityPlaces()
{
    static constexpr const char* kPlaces[] = {
        "/etc/ssl/certs/ca-certificates.crt", // Debian, Ubuntu, Arch, Gentoo
        "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem", // Fedora, RHEL and kin
        "/etc/pki/tls/certs/ca-bundle.crt", // older ones of them
        "/etc/ssl/ca-bundle.pem", // openSUSE, SLES
        "/etc/pki/tls/cacert.pem", // OpenELEC
        "/etc/ssl/cert.pem", // Alpine
    };
    return kPlaces;
}

} // namespace tavo::network::ssl
