#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tavo/network/http/http_client.h>

#include "remote/transfer_pace.h"

// The bodies of answers that are texts. No state; nothing throws but for lack of memory.

namespace tavo::vms_server_plugins::analytics::orlix
{

// As much as a log or the board gets of a text whose length another machine decides: its first
// 1,024 bytes.
[[nodiscard]] std::string_view excerptOf(std::string_view text);

// The first 1,024 bytes of the body of the client's answer; the rest is not fetched. Less where the
// transfer ends earlier or falls under the floor.
[[nodiscard]] std::string fetchBodyExcerpt(
    network::http::HttpClient& client, const TransferFloor& floor = {});

// The whole body of the client's answer. Nothing if it breaks off, falls under the floor, or is
// larger than any text of the cloud's: HttpClient::kMaxEntireBodySize.
[[nodiscard]] std::optional<std::string> fetchBody(
    network::http::HttpClient& client, const TransferFloor& floor = {});

} // namespace tavo::vms_server_plugins::analytics::orlix
