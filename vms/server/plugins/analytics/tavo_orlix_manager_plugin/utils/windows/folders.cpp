#include "utils/folders.h"

#include <filesystem>
#include <windows.h>

#include "utils/deadline.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr DWORD kRenamePauseMs = 20;

void setLastError(std::error_code& error)
{
    error.assign(static_cast<int>(GetLastError()), std::system_category());
}

// What the system knows of a name, a link's own where it is one.
class Entry
{
public:
    explicit Entry(const std::filesystem::path& path) :
        m_attributes(GetFileAttributesW(path.c_str()))
    {}

    [[nodiscard]] bool exists() const { return m_attributes != INVALID_FILE_ATTRIBUTES; }
    [[nodiscard]] bool isFolder() const { return has(FILE_ATTRIBUTE_DIRECTORY); }
    [[nodiscard]] bool isLink() const { return has(FILE_ATTRIBUTE_REPARSE_POINT); }

    // Unpacked files may be read-only, which here is in the way of what happens to their names.
    void makeWritable(const std::filesystem::path& path) const
    {
        if (has(FILE_ATTRIBUTE_READONLY))
            SetFileAttributesW(path.c_str(), m_attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    }

private:
    [[nodiscard]] bool has(DWORD attribute) const
    {
        return exists() && (m_attributes & attribute) != 0;
    }

    const DWORD m_attributes;
};

} // namespace

std::vector<std::string> folder_entries(const std::string& folder, std::error_code& error)
{
    std::vector<std::string> names;
    std::filesystem::directory_iterator entry(pathFromUtf8(folder), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        names.push_back(utf8FromPath(entry->path().filename()));
    return names;
}

// Not asked of the standard library, which takes a link for what it leads to.
bool is_folder_itself(const std::string& path)
{
    const Entry entry(pathFromUtf8(path));
    return entry.isFolder() && !entry.isLink();
}

void remove_entry(const std::string& path, std::error_code& error)
{
    error.clear();
    const std::filesystem::path file = pathFromUtf8(path);
    const Entry entry(file);
    entry.makeWritable(file);
    if (entry.isFolder() ? RemoveDirectoryW(file.c_str()) : DeleteFileW(file.c_str()))
        return;
    setLastError(error);
    if (error == std::errc::no_such_file_or_directory)
        error.clear();
}

void rename_entry(
    const std::string& from, const std::string& to, std::chrono::milliseconds patience,
    std::error_code& error)
{
    error.clear();
    const std::filesystem::path source = pathFromUtf8(from);
    const std::filesystem::path target = pathFromUtf8(to);
    const Entry replaced(target);
    if (replaced.exists() && replaced.isFolder() != Entry(source).isFolder())
    {
        error = std::make_error_code(
            replaced.isFolder() ? std::errc::is_a_directory : std::errc::not_a_directory);
        return;
    }
    replaced.makeWritable(target);
    const Deadline deadline(patience);
    while (!MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING))
    {
        const DWORD reason = GetLastError();
        const bool isOpen = reason == ERROR_ACCESS_DENIED || reason == ERROR_SHARING_VIOLATION;
        if (!isOpen || deadline.hasPassed())
        {
            error.assign(static_cast<int>(reason), std::system_category());
            return;
        }
        Sleep(kRenamePauseMs);
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
