#pragma once

#include <span>
#include <string>

namespace tavo::network::ssl
{

// The file of trusted authorities: the one that the environment names as CURL_CA_BUNDLE or
// SSL_CERT_FILE, else the first of authorityPlaces() that holds anything. Empty where there is
// none. `root` stands before these places.
std::string authoritiesFile(const std::string& root = {});

// Where systems keep that file, which no two distributions do alike. None where the system has
// another way to keep authorities.
std::span<const char* const> authorityPlaces();

} // namespace tavo::network::ssl
