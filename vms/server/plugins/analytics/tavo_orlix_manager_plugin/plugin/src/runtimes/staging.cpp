#include "runtimes/staging.h"

#include <filesystem>
#include <new>
#include <system_error>

#include "utils/folders.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace fs = std::filesystem;

bool moveEntry(const fs::path& from, const fs::path& to);

bool mergeFolder(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    for (const std::string& name : folder_entries(utf8FromPath(from), error))
    {
        if (!moveEntry(from / pathFromUtf8(name), to / pathFromUtf8(name)))
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
    remove_tree(m_folder, error);
    m_made = fs::create_directories(pathFromUtf8(m_content), error);
}

Staging::~Staging()
{
    try
    {
        std::error_code ignored; // the next staging tries again
        remove_tree(m_folder, ignored);
    }
    catch (const std::bad_alloc&)
    {} // as it does here
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
