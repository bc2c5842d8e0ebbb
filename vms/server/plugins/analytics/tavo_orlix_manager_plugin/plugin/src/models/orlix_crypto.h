#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/outcome.h"

// Decrypting and hashing of model files and their texts, over libcrypto. No state, no key is kept.
// Failures go to standard error and to the log; nothing throws. Memory does not depend on a file's
// size. Where there is a `stop`, its request is a failure.

namespace tavo::vms_server_plugins::analytics::orlix
{

using Bytes = std::vector<std::uint8_t>;

// Decrypts an AES-256-GCM file: 12 bytes initialisation vector, the ciphertext, 16 bytes tag; no
// additional data. The key is the first 32 bytes of `key`; a shorter one is refused. The output is
// created with access for its owner only. True if all was decrypted and is authentic; a wrong key
// and a cut or corrupted file are not told apart. On false the output may hold bytes that are not
// to be used.
[[nodiscard]] bool decryptModelFile(
    std::string_view key, const std::string& inputPath, const std::string& outputPath);

// The same into a file that is there already, open and empty.
Outcome decryptModelFile(
    std::string_view key, const std::string& inputPath, const std::string& outputPath,
    std::FILE* output, const std::stop_token& stop = {});

inline constexpr std::size_t kMd5Size = 16;

// Nothing if the file cannot be read.
[[nodiscard]] std::optional<Bytes> fileMd5(
    const std::string& path, const std::stop_token& stop = {});

// The padding counts as data, so that the result always has length * 3 / 4 bytes and may end in
// zeros: a 44-character key text gives 33 bytes. Nothing for a text that is no base64.
[[nodiscard]] std::optional<Bytes> base64Decode(std::string_view text);
[[nodiscard]] std::string base64Encode(const Bytes& bytes);

} // namespace tavo::vms_server_plugins::analytics::orlix
