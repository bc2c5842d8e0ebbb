#include <gtest/gtest.h>

#include "utils/windows/process_user.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Of another user there is no process where these tests run.
TEST(ProcessUserTest, thisProcessIsOfThisUserAndNobodyIsRefusedUnknown)
{
    const ProcessUser own(GetCurrentProcess());
    ASSERT_TRUE(own);
    EXPECT_TRUE(own == ProcessUser(GetCurrentProcess()));
    EXPECT_TRUE(own.text().starts_with(L"S-1-")) << "not a user's name in access rules";
    EXPECT_TRUE(isTrustedProcess(GetCurrentProcessId()));

    EXPECT_FALSE(ProcessUser(nullptr));
    EXPECT_TRUE(ProcessUser(nullptr).text().empty());
    EXPECT_TRUE(isTrustedProcess(0)) << "there is none to be asked";
}

} // namespace tavo::vms_server_plugins::analytics::orlix
