#include "runtimes/staging.h"

#include <filesystem>
#include <system_error>

#include "remote/file_helpers.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace fs = std::filesystem;

bool moveEntry(const fs::path& from, const fs::path& to);

bool mergeFolder(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    for (fs::directory_iterator entry(from, error), end; !error && entry != end;
         entry.increment(error))
    {
        if (!moveEntry(entry->path(), to / entry->path().filename()))
            return false;
    }
    return !error;
}

bool moveEntry(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    if (fs::is_directory(fs::symlink_status(from, error)) && fs::is_directory(to, error))
        return mergeFolder(from, to);
    fs::rename(from, to, error);
    return !error;
}

} // namespace

Staging::Staging(const std::string& folder) :
    m_folder(folder),
    m_content(folder + "/content")
{
    std::error_code error;
    fs::remove_all(pathFromUtf8(m_folder), error);
    m_made = fs::create_directories(pathFromUtf8(m_content), error);
}

Staging::~Staging()
{
    std::error_code ignored; // the next staging tries again
    fs::remove_all(pathFromUtf8(m_folder), ignored);
}

bool Staging::moveInto(const std::string& target, const std::string& last) const
{
    const fs::path content = pathFromUtf8(m_content);
    const fs::path held = pathFromUtf8(m_folder) / "last";
    std::error_code error;
    fs::rename(content / pathFromUtf8(last), held, error);
    return !error && mergeFolder(content, pathFromUtf8(target)) &&
        moveEntry(held, pathFromUtf8(target) / pathFromUtf8(last));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
