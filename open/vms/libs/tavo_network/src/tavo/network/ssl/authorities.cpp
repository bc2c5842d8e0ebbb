#include <tavo/network/ssl/authorities.h>

#include <cstdlib>
#include <filesystem>

namespace tavo::network::ssl
{

std::string authoritiesFile(const std::string& root)
{
    for (const char* const name : {"CURL_CA_BUNDLE", "SSL_CERT_FILE"})
    {
        const char* const path = std::getenv(name);
        if (path && *path)
            return path;
    }
    for (const char* const place : authorityPlaces())
    {
        std::error_code error;
        std::string path = root + place;
        if (const auto size = std::filesystem::file_size(path, error); !error && size > 0)
            return path;
    }
    return {};
}

} // namespace tavo::network::ssl
