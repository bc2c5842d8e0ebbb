#include <algorithm>
#include <cstring>

#include "base/deployment.h"
#include "base/ini.h"
#include "fuzz_target.h"
#include "temporary_folder.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

constexpr char kFile[] = "tavo_orlix_manager_plugin.ini";

bool isSame(const Ini& a, const Ini& b)
{
    const auto hasSameValue = [](const auto& one, const auto& other)
    { return one.value == other.value; };
    const auto first = a.options();
    const auto second = b.options();
    return std::equal(first.begin(), first.end(), second.begin(), second.end(), hasSameValue);
}

} // namespace

// The file of options: read twice it says the same, and emptied it leaves the defaults.
void tavo::fuzz::run(std::string_view text)
{
    static const TemporaryFolder folder;
    static const tavo::test_support::ScopedVariable variable("TAVO_INI_DIR", folder.path());

    static const Ini defaults; // there is no file yet
    FUZZ_CHECK(std::strcmp(defaults.CloudAPI, kDefaultCloudApi) == 0);

    folder.write(kFile, std::string(text));
    Ini ini;
    const Ini another;
    FUZZ_CHECK(isSame(ini, another));

    folder.write(kFile, "");
    ini.reload();
    FUZZ_CHECK(isSame(ini, defaults));
}
