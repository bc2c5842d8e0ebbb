#include "utils/platform_names.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

namespace tavo::vms_server_plugins::analytics::orlix
{

const char kPathSeparator = '\\';

const char* const kManagerExecutable = "brunmod.exe";
const char* const kEngineExecutable = "brund.exe";
const char* const kRuntimeLibrary = "RuntimeLibrary.dll";
const char* const kArchiveTag = "w64";

// The shell is named since the two commands are its own. It complains of a folder that is not there
// and goes on; what counts is the second.
const char* const kMakeFolderCommand = "cmd /C "
                                       "rmdir /S /Q \"{folder_path}\" & mkdir \"{folder_path}\"";

// Devices are found in any folder, with whatever ending.
bool isNameOfFile(std::string_view text)
{
    static constexpr const char* kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
    if (text.find_first_of("\"*:<>?|") != std::string_view::npos || text.ends_with('.') ||
        text.ends_with(' '))
    {
        return false;
    }
    std::string stem(text.substr(0, text.find('.')));
    stem.erase(stem.find_last_not_of(' ') + 1);
    const bool isPort = stem.size() == 4 && stem[3] >= '0' && stem[3] <= '9' &&
        (_strnicmp(stem.c_str(), "COM", 3) == 0 || _strnicmp(stem.c_str(), "LPT", 3) == 0);
    return !isPort &&
        std::none_of(
            std::begin(kDevices), std::end(kDevices),
            [&stem](const char* device) { return _stricmp(stem.c_str(), device) == 0; });
}

const char* const kNullDevice = "NUL";
const char* const kPciDeviceRoot = R"(SYSTEM\CurrentControlSet\Enum\PCI)";
const char* const kCudaVersionFile = "";
const char* const kHailoDeviceFolder = "";

} // namespace tavo::vms_server_plugins::analytics::orlix
