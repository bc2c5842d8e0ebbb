#include <tavo/network/socket_guards.h>

namespace tavo::network
{

curl_socket_t openSocket(const curl_sockaddr& address)
{
    return WSASocketW(
        address.family, address.socktype, address.protocol, nullptr, 0,
        WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

void keepLoaded(const void* code)
{
    HMODULE library = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
        static_cast<const wchar_t*>(code), &library);
}

} // namespace tavo::network
