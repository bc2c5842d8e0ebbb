#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "records/record_store.h"

// What the host's records hold and where they come from. No state; any thread.

namespace tavo::devkit
{

// Who this server is. Kept as the one record of RecordKind::system.
struct SystemIdentity
{
    std::string serverId;
    std::string cloudSystemId; // empty: none
    std::string cloudAuthToken; // empty: not connected to the cloud
};

inline constexpr char kSystemRecordId[] = "identity";
inline constexpr char kServerRecordId[] = "this";

// A device as a server would hold it after the cloud has configured it: one person model, one
// pipeline with line crossing. The id depends on the index alone.
[[nodiscard]] std::string defaultDeviceId(int index);
[[nodiscard]] std::string defaultDeviceRecord(int index, const std::string& serverId);

// A device that nobody has configured yet. `source` is what it shows, by libav's names; empty: what
// the host shows anyway.
[[nodiscard]] std::string newDeviceRecord(
    const std::string& id, const std::string& name, const std::string& source,
    const std::string& serverId);

// Takes a password out of the device's record, which others read; addressOf still knows it.
void hidePassword(RecordStore& store, const std::string& deviceId);

// What the device shows; empty: what the host shows anyway.
[[nodiscard]] std::string addressOf(const RecordStore& store, const std::string& deviceId);

// Fills the store for a start. `recordsText` is a JSON object, or empty:
//   {"serverId": "", "cloudSystemId": "", "cloudAuthToken": "", "server": {}, "devices": [{}],
//    "users": [{}]}
// with every member optional and every device and user with its "id". The identity is taken from
// it each time. A record that the store has already stays as it is, since it may have been patched;
// devices that are short of `cameraCount` are made from the defaults, and so is what is missing.
// Throws std::runtime_error when the text is of no use.
void seedRecords(RecordStore& store, std::string_view recordsText, int cameraCount);

[[nodiscard]] SystemIdentity readIdentity(const RecordStore& store);

// Whether two ids name the same thing: braces around an id and the case of its letters do not
// count.
[[nodiscard]] bool isSameId(std::string_view left, std::string_view right);

// The id under which the store has it; empty when it has none.
[[nodiscard]] std::string findId(const RecordStore& store, RecordKind kind, std::string_view id);

} // namespace tavo::devkit
