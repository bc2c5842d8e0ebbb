#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <stop_token>
#include <string>

#include <tavo/network/http/http_client.h>

#include "base/message_board.h"
#include "base/outcome.h"
#include "remote/transfer_pace.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Fetches `url` into `filePath`, a new file for the owner only in place of what is there, with
// progress on the board under `key` and `title`; the entry is gone when it returns. Done when the
// body was written; a body that breaks off counts as written, and who unpacks it will notice. A
// transfer that falls under the floor, or that `stop` ends, is given up, and no file is left.
// Memory does not depend on the file's size. Blocks for the length of the transfer.
Outcome downloadFile(
    const std::string& url, const std::string& filePath, MessageBoard& board,
    const std::string& key, const std::string& title, const TransferFloor& floor = {},
    const std::stop_token& stop = {});

// Pulls the body of the client's answer into a file, which lies at `path`. `progress` gets the
// bytes that have come, each time when there are more. A body that breaks off counts as written:
// see the client's failure.
Outcome receiveFile(
    network::http::HttpClient& client, std::FILE* file, const std::string& path,
    const TransferFloor& floor, const std::function<void(std::uint64_t)>& progress);

} // namespace tavo::vms_server_plugins::analytics::orlix
