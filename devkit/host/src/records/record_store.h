#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavo::devkit
{

enum class RecordKind
{
    system, // one record: who this server is and how it is connected
    server, // what the host keeps about itself
    device,
    user,
    settings, // the values of a device's settings dialog, under the device's id
    address, // the "url" of a device whose record leaves a password out, whole; likewise
};

// Where the host keeps its records: JSON texts under a kind and an id. It looks into none of them.
// Any thread may call. A failure of the medium throws std::runtime_error.
class RecordStore
{
public:
    virtual ~RecordStore() = default;

    [[nodiscard]] virtual std::optional<std::string> find(
        RecordKind kind, const std::string& id) const = 0;

    virtual void put(RecordKind kind, const std::string& id, const std::string& text) = 0;

    // Does nothing where there is no such record.
    virtual void remove(RecordKind kind, const std::string& id) = 0;

    // In the order in which they were first put.
    [[nodiscard]] virtual std::vector<std::string> ids(RecordKind kind) const = 0;
};

// Forgets everything with its end.
[[nodiscard]] std::unique_ptr<RecordStore> makeMemoryRecordStore();

// Keeps the records in an SQLite database, which is made if it is not there. A record that was put
// is there after the end of the process, however it came. Throws std::runtime_error when the file
// cannot be opened.
[[nodiscard]] std::unique_ptr<RecordStore> openDatabaseRecordStore(
    const std::filesystem::path& file);

} // namespace tavo::devkit
