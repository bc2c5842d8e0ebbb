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

bool moveEntry(const std::string& from, const std::string& to);

bool mergeFolder(const std::string& from, const std::string& to)
{
    std::error_code error;
    for (const std::string& name : folder_entries(from, error))
    {
        if (!moveEntry(from + "/" + name, to + "/" + name))
            return false;
    }
    return !error;
}

bool moveEntry(const std::string& from, const std::string& to)
{
    std::error_code error;
    if (is_folder_itself(from) && std::filesystem::is_directory(pathFromUtf8(to), error))
        return mergeFolder(from, to);
    rename_entry(from, to, kRenamePatience, error);
    return !error;
}

} // namespace

Staging::Staging(const std::string& folder) :
    m_folder(folder),
    m_content(folder + "/content")
{
    std::error_code error;
    remove_tree(m_folder, error);
    m_made = std::filesystem::create_directories(pathFromUtf8(m_content), error);
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
    const std::string held = m_folder + "/last";
    std::error_code error;
    rename_entry(m_content + "/" + last, held, kRenamePatience, error);
    return !error && mergeFolder(m_content, target) && moveEntry(held, target + "/" + last);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
