// A library that is told of threads' ends as the plugin is, and whose one function uses OpenSSL.

#include <openssl/err.h>
#include <openssl/rand.h>

extern "C" __declspec(dllexport) int useOpenSsl()
{
    unsigned char byte = 0;
    ERR_clear_error();
    return RAND_bytes(&byte, 1);
}
