#include "fuzz_target.h"
#include "utils/machine.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

// What the system says of itself: it ends up in the names of packages and in lines of the log.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const OsRelease release = parse_os_release(tavo::fuzz::asText(data, size));
    FUZZ_CHECK(!release.name.empty() && !release.version.empty());
    FUZZ_CHECK(release.name.find_first_of(" \n") == std::string::npos);
    FUZZ_CHECK(release.version.find('\n') == std::string::npos);
    return 0;
}
