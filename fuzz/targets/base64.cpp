#include <algorithm>

#include "fuzz_target.h"
#include "models/orlix_crypto.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

// The text of a digest or a key that a model server sends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto decoded = base64Decode(tavo::fuzz::asText(data, size));
    FUZZ_CHECK(!decoded || decoded->size() == size * 3 / 4);

    const Bytes bytes(data, data + size);
    const auto again = base64Decode(base64Encode(bytes));
    FUZZ_CHECK(again && again->size() >= size && again->size() < size + 3);
    FUZZ_CHECK(std::equal(bytes.begin(), bytes.end(), again->begin()));
    return 0;
}
