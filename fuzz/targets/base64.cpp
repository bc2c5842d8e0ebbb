#include <algorithm>

#include "fuzz_target.h"
#include "models/orlix_crypto.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

// The text of a digest or a key that a model server sends.
void tavo::fuzz::run(std::string_view text)
{
    const auto decoded = base64Decode(text);
    FUZZ_CHECK(!decoded || decoded->size() == text.size() * 3 / 4);

    const Bytes bytes(text.begin(), text.end());
    const auto again = base64Decode(base64Encode(bytes));
    FUZZ_CHECK(again && again->size() >= text.size() && again->size() < text.size() + 3);
    FUZZ_CHECK(std::equal(bytes.begin(), bytes.end(), again->begin()));
}
