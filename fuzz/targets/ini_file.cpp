#include <cstring>
#include <memory>

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
    const auto texts = [](const Ini& ini)
    {
        std::string all;
        for (const char* const text :
             {ini.CloudAPI, ini.DeviceAdminOverride, ini.RuntimesStorageURL,
              ini.OrlixManagerStorageURL, ini.WorkingDirectory})
            all += std::string(text) + '\n';
        return all;
    };
    return texts(a) == texts(b) && a.enableOutput == b.enableOutput &&
        a.logToConsole == b.logToConsole && a.logToFile == b.logToFile &&
        a.sendFramesOverride == b.sendFramesOverride &&
        a.restartOrlixManagerOnCrash == b.restartOrlixManagerOnCrash &&
        a.cacheRuntimeArchives == b.cacheRuntimeArchives &&
        a.enableAmbarellaIntegration == b.enableAmbarellaIntegration &&
        a.logVerbosityLevel == b.logVerbosityLevel &&
        a.modelDownloadSeconds == b.modelDownloadSeconds &&
        a.HTTPRequestTimeout == b.HTTPRequestTimeout;
}

} // namespace

// The file of options: read twice it says the same, and emptied it leaves the defaults.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    static const tavo::test_support::ScopedVariable variable("TAVO_INI_DIR", folder.path());

    static const Ini defaults; // there is no file yet
    FUZZ_CHECK(std::strcmp(defaults.CloudAPI, kDefaultCloudApi) == 0);

    folder.write(kFile, std::string(tavo::fuzz::asText(data, size)));
    Ini ini;
    const Ini another;
    FUZZ_CHECK(isSame(ini, another));

    folder.write(kFile, "");
    ini.reload();
    FUZZ_CHECK(isSame(ini, defaults));
    return 0;
}
