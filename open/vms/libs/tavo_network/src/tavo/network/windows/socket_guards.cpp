#include <tavo/network/socket_guards.h>

namespace tavo::network
{

curl_socket_t openSocket(const curl_sockaddr& address)
{
    return WSASocketW(
        address.family, address.socktype, address.protocol, nullptr, 0,
        WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

} // namespace tavo::network
