#include <tavo/network/socket_guards.h>

#include <dlfcn.h>
#include <sys/socket.h>

namespace tavo::network
{

curl_socket_t openSocket(const curl_sockaddr& address)
{
    const int descriptor =
        socket(address.family, address.socktype | SOCK_CLOEXEC, address.protocol);
    return descriptor < 0 ? CURL_SOCKET_BAD : descriptor;
}

void keepLoaded(const void* code)
{
    Dl_info own = {};
    // A program is not unloaded, and cannot be opened either. What stays is never closed.
    if (dladdr(code, &own) != 0)
        static_cast<void>(dlopen(own.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE));
}

} // namespace tavo::network
