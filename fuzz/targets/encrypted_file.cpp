#include <algorithm>
#include <string>

#include "encrypted_model.h"
#include "fuzz_target.h"
#include "models/orlix_crypto.h"
#include "temporary_folder.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

// A model's file as the storage has it: one that is true comes back, one that is not never passes
// for a model.
void tavo::fuzz::run(std::string_view text)
{
    static const TemporaryFolder folder;
    const std::string key = "0123456789abcdef0123456789abcdef";
    const auto decrypts = [](const std::string& content, const std::string& withKey)
    {
        folder.write("in", content);
        return decryptModelFile(withKey, folder.path("in"), folder.path("out"));
    };

    const std::string bytes(text);
    FUZZ_CHECK(!decrypts(bytes, key));

    std::string file = test::encryptedModel(bytes, key);
    FUZZ_CHECK(decrypts(file, key + "beyond the key"));
    FUZZ_CHECK(folder.read("out") == bytes);
    FUZZ_CHECK(!decrypts(file, key.substr(1)));

    // One changed bit, one byte less.
    const std::size_t at = std::hash<std::string>()(bytes) % file.size();
    file[at] = static_cast<char>(file[at] ^ 1 << at % 8);
    FUZZ_CHECK(!decrypts(file, key));
    file[at] = static_cast<char>(file[at] ^ 1 << at % 8);
    file.erase(at, 1);
    FUZZ_CHECK(!decrypts(file, key));
}
