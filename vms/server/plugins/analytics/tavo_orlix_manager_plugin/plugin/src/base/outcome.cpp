#include "base/outcome.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

Outcome Outcome::failedAt(const std::string& path, std::error_code error)
{
    if (error == std::errc::no_space_on_device)
        return failed("There is no room left on the disk of " + path + ".");
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted)
        return failed("Access to " + path + " is denied.");
    if (error == std::errc::read_only_file_system)
        return failed("The disk of " + path + " is read-only.");
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory)
        return failed("There is no " + path + ", or its folder is missing.");
    return failed(path + ": " + error.message() + ".");
}

} // namespace tavo::vms_server_plugins::analytics::orlix
