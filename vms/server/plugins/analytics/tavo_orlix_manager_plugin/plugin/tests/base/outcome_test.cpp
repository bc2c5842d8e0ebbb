#include "base/outcome.h"

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(Outcome, SaysWhatAnAdministratorCanMend)
{
    const std::string denied = "Access to /f is denied.";
    const std::string missing = "There is no /f, or its folder is missing.";
    const std::pair<std::errc, std::string> kCases[] = {
        {std::errc::no_space_on_device, "There is no room left on the disk of /f."},
        {std::errc::permission_denied, denied},
        {std::errc::operation_not_permitted, denied},
        {std::errc::read_only_file_system, "The disk of /f is read-only."},
        {std::errc::no_such_file_or_directory, missing},
        {std::errc::not_a_directory, missing}};
    for (const auto& [code, why] : kCases)
        EXPECT_EQ(why, Outcome::failedAt("/f", std::make_error_code(code)).why());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
