#include <tavo/network/ssl/authorities.h>

namespace tavo::network::ssl
{

// The system's own store is asked (CURLSSLOPT_NATIVE_CA).
std::span<const char* const> authorityPlaces()
{
    return {};
}

} // namespace tavo::network::ssl
