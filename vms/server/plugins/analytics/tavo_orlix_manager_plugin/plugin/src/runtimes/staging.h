#pragma once

#include <string>
#include <system_error>

#include "base/outcome.h"
#include "utils/command.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A folder in which a package is unpacked before its files take their places, so that a package
// that is cut, or a disk that is full, leaves no half of them. It lies on the same volume as those
// places. Logs nothing and throws nothing but for lack of memory.
class Staging
{
public:
    // Makes `folder` anew; what a process that died left there goes.
    explicit Staging(const std::string& folder);

    // Removes the folder with what is left in it.
    ~Staging();

    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    // Where to unpack. Failed where there is no such folder.
    [[nodiscard]] const std::string& content() const { return m_content; }
    Outcome made() const;

    // What became of the tar that was to unpack there.
    Outcome unpacked(const CommandResult& tar) const;

    // Moves the content into the folder `target`, over what is there, folders being merged. The
    // file `last` of it, a relative path, comes when all others are in place: a caller that takes
    // its presence for that of the whole never finds a part. Ends at the first failure.
    Outcome moveInto(const std::string& target, const std::string& last) const;

private:
    const std::string m_folder;
    const std::string m_content;
    std::error_code m_error; // of its making
};

} // namespace tavo::vms_server_plugins::analytics::orlix
