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
    if (dladdr(code, &own) == 0 || !own.dli_fname)
        return;
    // A program is not unloaded, and cannot be opened either.
    if (void* const library = dlopen(own.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE))
        dlclose(library);
}

} // namespace tavo::network
