#include <tavo/sdk/helpers/random_bytes.h>

#include <system_error>

#include <windows.h>

#include <bcrypt.h>

namespace tavo::sdk
{

void fillWithRandomBytes(std::span<std::uint8_t> bytes)
{
    const NTSTATUS status = BCryptGenRandom(
        nullptr, bytes.data(), static_cast<ULONG>(bytes.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    if (status != 0)
        throw std::system_error(status, std::system_category(), "BCryptGenRandom");
}

} // namespace tavo::sdk
