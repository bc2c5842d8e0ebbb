#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <stop_token>
#include <string>

#include "base/message_board.h"
#include "remote/transfer_pace.h"

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
    TransferFloor floor; // below which the transfer is given up
};

// Fetches a model into a temporary file beside its path, checks its digest, and moves it into
// place together with the key of an encrypted model, so that an older good pair stays whatever goes
// wrong. Where the ini file has no certificates checked, the digest is what is trusted. True on
// success; `lastModified` is then the server's time of the file, if it can be read. A failure is on
// the board, but for one by `stop`, and no temporary file is left. Memory does not depend on the
// size.
[[nodiscard]] bool downloadModel(
    const ModelDownload& download, MessageBoard& board, std::optional<std::time_t>* lastModified,
    const std::stop_token& stop = {});

// Ends the moving into place of a model and its key where a process that died left it: the key
// follows a model that is in place already, and goes where the model never came.
void finishInterruptedDownload(const std::string& modelPath, const std::string& keyPath);

// A time in the format of std::get_time, taken as local time.
[[nodiscard]] std::optional<std::time_t> parseLocalTime(
    const std::string& text, const char* format);

} // namespace tavo::vms_server_plugins::analytics::orlix
