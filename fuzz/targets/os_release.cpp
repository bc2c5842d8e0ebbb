#include "fuzz_target.h"
#include "utils/machine.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

// What the system says of itself: it ends up in the names of packages and in lines of the log.
void tavo::fuzz::run(std::string_view text)
{
    const OsRelease release = parse_os_release(text);
    FUZZ_CHECK(!release.name.empty() && !release.version.empty());
    FUZZ_CHECK(release.name.find_first_of(" \n") == std::string::npos);
    FUZZ_CHECK(release.version.find('\n') == std::string::npos);
}
