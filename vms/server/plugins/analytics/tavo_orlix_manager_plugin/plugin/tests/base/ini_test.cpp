#include "base/ini.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <testing/scoped_variable.h>

#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(Ini, TellsWhatCannotBeUsedAndWhatIsUsedInstead)
{
    const TemporaryFolder folder;
    const test_support::ScopedVariable variable("TAVO_INI_DIR", folder.path());
    const auto read = [&folder](const std::string& content)
    {
        folder.write("tavo_orlix_manager_plugin.ini", content);
        testing::internal::CaptureStderr();
        Ini ini;
        static_cast<void>(testing::internal::GetCapturedStderr());
        return std::tuple(
            ini.modelDownloadSeconds, ini.HTTPRequestTimeout, ini.logVerbosityLevel,
            std::string(ini.WorkingDirectory), ini.problems);
    };
    const struct
    {
        std::string content;
        int modelSeconds;
        int requestSeconds;
        int verbosity;
        std::string workingDirectory;
        const char* option;
        const char* problem; // empty: none
    } kCases[] = {
        {"modelDownloadSeconds=60\nHTTPRequestTimeout=1\nlogVerbosityLevel=0\n", 60, 1, 0, "", "",
         ""},
        {"WorkingDirectory=" + folder.path("w"), 5, 3, 1, folder.path("w"), "", ""},
        {"HTTPRequestTimeout=-3\nlogVerbosityLevel=2", 5, 3, 2, "", "HTTPRequestTimeout",
         "needs 1 or more, not -3; 3 is used instead"},
        {"modelDownloadSeconds=0", 5, 3, 1, "", "modelDownloadSeconds",
         "needs 1 or more, not 0; 5 is used instead"},
        {"logVerbosityLevel=3", 5, 3, 1, "", "logVerbosityLevel",
         "needs 0 to 2, not 3; 1 is used instead"},
        {"modelDownloadSeconds=five", 5, 3, 1, "", "modelDownloadSeconds",
         "needs a whole number, not \"five\"; 5 is used instead"},
        {"WorkingDirectory=orlix", 5, 3, 1, "", "WorkingDirectory",
         "not \"orlix\"; tavo_orlix_manager in the host's folder is used instead"},
        {"HTTPRequestTimeouts=4", 5, 3, 1, "", "HTTPRequestTimeouts", "unknown option"},
        {"HTTPRequestTimeout 4", 5, 3, 1, "", "", "line 1 is no option"}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.content);
        const auto [modelSeconds, requestSeconds, verbosity, workingDirectory, problems] =
            read(c.content);
        EXPECT_EQ(c.modelSeconds, modelSeconds);
        EXPECT_EQ(c.requestSeconds, requestSeconds);
        EXPECT_EQ(c.verbosity, verbosity);
        EXPECT_EQ(c.workingDirectory, workingDirectory);
        ASSERT_EQ(*c.problem ? 1u : 0u, problems.size());
        if (problems.empty())
            continue;
        EXPECT_EQ(c.option, problems[0].option);
        EXPECT_THAT(problems[0].text, testing::HasSubstr(c.problem));
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
