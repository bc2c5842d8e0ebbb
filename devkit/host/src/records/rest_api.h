#pragma once

#include <string>
#include <string_view>

#include "records/record_store.h"

namespace tavo::devkit
{

struct RestRequest
{
    std::string path; // with its query
    std::string method;
    std::string body;
};

// The part of the host's REST interface that the library uses:
//   GET        /rest/v4/devices?serverId=ID   the server's devices (all without the query)
//   GET, PATCH /rest/v4/devices/ID
//   GET, PATCH /rest/v4/servers/this
//   GET        /rest/v4/users
// A PATCH merges its body into the record (JSON merge patch), keeps the record's "id", and answers
// with the record as it is then. Bodies are JSON on one line.
//
// Gives the whole HTTP response with its head; a failure is an answer with a status and a text.
// Requests that change records must come one at a time.
[[nodiscard]] std::string answerRequest(RecordStore& store, const RestRequest& request);

} // namespace tavo::devkit
