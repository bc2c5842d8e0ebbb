#include <algorithm>
#include <stdexcept>

#include "fuzz_target.h"
#include "remote/text_helpers.h"
#include "runtimes/driver_probes.h"
#include "runtimes/tool_output.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

bool isVersion(std::string_view text)
{
    return text.find_first_not_of("0123456789.") == std::string_view::npos &&
        std::count(text.begin(), text.end(), '.') == 2;
}

// -2 for what is no version.
int compare(const std::string& a, const std::string& b)
{
    try
    {
        return compareVersions(a, b);
    }
    catch (const std::logic_error&)
    {
        return -2;
    }
}

} // namespace

// What the tools of accelerators' vendors print. Versions of it end up in the names of packages.
void tavo::fuzz::run(std::string_view input)
{
    const std::string text(input);

    const std::string deepx = deepxVersionIn(text);
    FUZZ_CHECK(deepx.empty() || isVersion(deepx));
    const std::string hailo = hailoVersionIn(text);
    FUZZ_CHECK(hailo.empty() || isVersion(hailo));
    const int type = hailoTypeIn(text);
    FUZZ_CHECK(type >= 0 && type <= 2);

    for (const std::string& version : {deepx, hailo, text})
    {
        const char* const supported = findSupportedVersion(kHailoSupportedVersions, version);
        FUZZ_CHECK(!supported || compare(version, supported) == 0);
        const int order = compare(version, "4.18.0");
        FUZZ_CHECK(order == -2 || order == -compare("4.18.0", version));
    }

    const std::string cuda = cudaVersionInPath(text);
    FUZZ_CHECK(cuda.find('/') == std::string::npos);
    const std::string tag = cudaDriverTag(cuda);
    FUZZ_CHECK(tag.empty() || tag.starts_with("cuda_1"));
    static_cast<void>(textToInt(text, 0));
}
