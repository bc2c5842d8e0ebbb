#include "runtimes/staging.h"

#include <filesystem>
#include <new>
#include <system_error>

#include "runtimes/tool_output.h"
#include "utils/folders.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// What tar could not write any more is less than this.
constexpr std::uintmax_t kFullDisk = 64 * 1024;

Outcome moveEntry(const std::string& from, const std::string& to);

Outcome mergeFolder(const std::string& from, const std::string& to)
{
    std::error_code error;
    for (const std::string& name : folder_entries(from, error))
    {
        if (Outcome outcome = moveEntry(from + "/" + name, to + "/" + name); !outcome)
            return outcome;
    }
    return error ? Outcome::failedAt(from, error) : Outcome();
}

Outcome moveEntry(const std::string& from, const std::string& to)
{
    std::error_code error;
    if (is_folder_itself(from) && std::filesystem::is_directory(pathFromUtf8(to), error))
        return mergeFolder(from, to);
    rename_entry(from, to, kRenamePatience, error);
    return error ? Outcome::failedAt(to, error) : Outcome();
}

} // namespace

Staging::Staging(const std::string& folder) :
    m_folder(folder),
    m_content(folder + "/content")
{
    remove_tree(m_folder, m_error);
    if (!m_error)
        std::filesystem::create_directories(pathFromUtf8(m_content), m_error);
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

Outcome Staging::made() const
{
    return m_error ? Outcome::failedAt(m_folder, m_error) : Outcome();
}

Outcome Staging::unpacked(const CommandResult& tar) const
{
    if (tar.exitCode == 0)
        return {};
    std::error_code error;
    if (std::filesystem::space(pathFromUtf8(m_folder), error).available < kFullDisk && !error)
        return Outcome::failedAt(m_folder, std::make_error_code(std::errc::no_space_on_device));
    if (tar.exitCode < 0)
        return Outcome::failed("tar could not be started, or did not come to its end.");
    const std::string words = tar.output.substr(0, tar.output.find_first_of("\r\n"));
    return Outcome::failed("The archive is damaged or was cut: " + beginningOf(words));
}

Outcome Staging::moveInto(const std::string& target, const std::string& last) const
{
    const std::string held = m_folder + "/last";
    Outcome outcome = moveEntry(m_content + "/" + last, held);
    if (outcome)
        outcome = mergeFolder(m_content, target);
    return outcome ? moveEntry(held, target + "/" + last) : outcome;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
