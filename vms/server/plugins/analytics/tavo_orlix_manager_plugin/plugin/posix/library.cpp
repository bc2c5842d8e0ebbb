// What the library for users does when it is loaded, and the doctor when it starts; the whole rest
// of the library is in the archives that it links.

#include <openssl/crypto.h>

namespace
{

// Before the OpenSSL inside is asked for anything: its configuration file is the host's, or of
// whoever set OPENSSL_CONF, and may name modules to be loaded into the process.
[[maybe_unused]] const int isWithoutConfiguration =
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);

} // namespace
