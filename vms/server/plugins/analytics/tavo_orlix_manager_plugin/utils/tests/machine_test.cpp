#include "utils/machine.h"

#include <testing/scoped_variable.h>

#include "test_support.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(MachineTest, environmentIsReadInUtf8)
{
    const test_support::ScopedVariable variable("ORLIX_TEST_VARIABLE", "/\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ("/\xC3\xA9\xE2\x82\xAC", machine_environment("ORLIX_TEST_VARIABLE"));
    EXPECT_EQ("", machine_environment("ORLIX_TEST_NO_VARIABLE"));
    EXPECT_EQ(kPathSeparator != '/', machine_has_library("libnone_of_that_name.so"));
}

TEST(MachineTest, filesOfAFolderAreListedWithoutItsFolders)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(list_files(folder.path("none")).empty());
    std::filesystem::create_directory(pathFromUtf8(folder.path("below")));
    folder.write("file", "");
    EXPECT_EQ(std::vector<std::string>{"file"}, list_files(folder.path()));
}

TEST(PathsTest, partsAreJoinedByOneSeparator)
{
    const std::string separator(1, kPathSeparator);
    EXPECT_EQ("a" + separator + "b", path_join({"a", "b"}));
    EXPECT_EQ("a" + separator + "b", path_join({"a" + separator, "b"}));
    EXPECT_EQ(separator + "b", path_join({"", "b"}));
    EXPECT_EQ("a", path_join({"a"}));
}

TEST(ProcessorKindTest, isReadFromTheNameOfTheMachine)
{
    const std::pair<const char*, ProcessorKind> cases[] = {
        {"x86_64", ProcessorKind::x86_64}, {"aarch64", ProcessorKind::arm64},
        {"i386", ProcessorKind::x86},      {"i686", ProcessorKind::x86},
        {"i86", ProcessorKind::other},     {"a686", ProcessorKind::other},
        {"i680", ProcessorKind::other},    {"armv7l", ProcessorKind::other}};
    for (const auto& [name, kind] : cases)
        EXPECT_EQ(kind, parse_processor_kind(name)) << name;
}

TEST(OsReleaseTest, nameIsOneWordAndVersionAsGiven)
{
    const struct
    {
        const char* text;
        const char* name;
        const char* version;
    } cases[] = {
        {"PRETTY_NAME=\"x\"\nNAME=\"Ubuntu\"\nVERSION_ID=\"22.04\"\n", "Ubuntu", "22.04"},
        {"NAME=\"Debian GNU/Linux\"\nVERSION=\"12 (bookworm)\"\nVERSION_ID=\"12\"", "Debian", "12"},
        {"VERSION_ID=3.19.0\nNAME='Alpine Linux'\n", "Alpine", "3.19.0"},
        {"NAME=\"A\\\"B\"\n", "A\"B", "Unknown"},
        {"NAME=A\\\n", "A\\", "Unknown"},
        {"NAME=\n\nVERSION_ID=\"\"\nNAME2=x\n", "Unknown", "Unknown"},
        {"", "Unknown", "Unknown"},
    };
    for (const auto& c : cases)
    {
        const OsRelease release = parse_os_release(c.text);
        EXPECT_EQ(c.name, release.name) << c.text;
        EXPECT_EQ(c.version, release.version) << c.text;
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
