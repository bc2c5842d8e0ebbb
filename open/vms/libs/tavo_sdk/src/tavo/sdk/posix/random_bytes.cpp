#include <tavo/sdk/helpers/random_bytes.h>

#include <cerrno>
#include <system_error>

#include <sys/random.h>

namespace tavo::sdk
{

void fillWithRandomBytes(std::span<std::uint8_t> bytes)
{
    if (getentropy(bytes.data(), bytes.size()) != 0)
        throw std::system_error(errno, std::generic_category(), "getentropy");
}

} // namespace tavo::sdk
