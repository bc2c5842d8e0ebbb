// What a transfer must not do to the process that it runs in, as far as platforms differ.
#pragma once

#include <curl/curl.h>

namespace tavo::network
{

// Opens a socket for libcurl that no child process inherits; CURL_SOCKET_BAD on failure.
curl_socket_t openSocket(const curl_sockaddr& address);

// The library that this code is in is not unloaded any more: a thread may still be running it.
void keepLoaded(const void* code);

} // namespace tavo::network
