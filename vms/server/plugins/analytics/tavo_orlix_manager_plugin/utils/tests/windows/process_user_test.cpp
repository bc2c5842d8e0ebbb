#include <gtest/gtest.h>

#include "test_support.h"
#include "utils/windows/process_user.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(ProcessUserTest, onlyWhoIsKnownToBeOfThisUserOrTheSystemIsTrusted)
{
    const ProcessUser own(GetCurrentProcess());
    ASSERT_TRUE(own);
    EXPECT_TRUE(own.text().starts_with(L"S-1-")) << "not a user's name in access rules";
    EXPECT_TRUE(isTrustedProcess(GetCurrentProcessId()));

    EXPECT_FALSE(ProcessUser(nullptr));
    EXPECT_TRUE(ProcessUser(nullptr).text().empty());
    EXPECT_FALSE(isTrustedProcess(0)) << "there is none to be asked";

    const struct
    {
        WELL_KNOWN_SID_TYPE who;
        bool isTrusted;
    } cases[] = {
        {WinLocalSystemSid, true},   {WinBuiltinAdministratorsSid, true}, {WinWorldSid, false},
        {WinLocalServiceSid, false}, {WinBuiltinUsersSid, false},
    };
    for (const auto& c : cases)
    {
        alignas(SID) char id[SECURITY_MAX_SID_SIZE];
        DWORD size = sizeof id;
        ASSERT_TRUE(CreateWellKnownSid(c.who, nullptr, id, &size));
        EXPECT_EQ(c.isTrusted, isTrustedOwner(id)) << c.who;
    }
}

TEST(ProcessUserTest, theOwnersOfFoldersAreTold)
{
    const test::TemporaryFolder folder;
    EXPECT_TRUE(isOfTrustedOwner(pathFromUtf8(folder.path()).wstring()));
    EXPECT_FALSE(isOfTrustedOwner(pathFromUtf8(folder.path("none")).wstring()));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
