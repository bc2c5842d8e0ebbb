#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "core/base/message_board.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What one download needs to know.
struct ModelDownload
{
    std::string url;
    std::string modelPath;
    std::string keyPath;
    bool encrypted = false; // the response then carries the model's key
    std::string modelName; // for people
    std::uint64_t expectedSize = 0; // bytes, not 0
    std::string cloudToken; // the whole authorization
};

// Fetches a model into a temporary file beside its path, checks its digest, and moves it into
// place, so that an older good file stays whatever goes wrong. The key of an encrypted model is
// saved before the body is fetched. Any server certificate is accepted: the digest is what is
// trusted. True on success; `lastModified` is then the server's time of the file, if it can be
// read. A failure is on the board, and no temporary file is left. Memory does not depend on the
// size.
[[nodiscard]] bool downloadModel(
    const ModelDownload& download, MessageBoard& board, std::optional<std::time_t>* lastModified);

// A time in the format of std::get_time, taken as local time.
[[nodiscard]] std::optional<std::time_t> parseLocalTime(
    const std::string& text, const char* format);

} // namespace tavo::vms_server_plugins::analytics::orlix
