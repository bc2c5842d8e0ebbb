#include <tavo/network/socket_guards.h>

#include <sys/socket.h>

namespace tavo::network
{

curl_socket_t openSocket(const curl_sockaddr& address)
{
    const int descriptor =
        socket(address.family, address.socktype | SOCK_CLOEXEC, address.protocol);
    return descriptor < 0 ? CURL_SOCKET_BAD : descriptor;
}

} // namespace tavo::network
