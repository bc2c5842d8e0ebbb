#include "utils/platform_names.h"

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

const char* const kPciDeviceRoot = R"(SYSTEM\CurrentControlSet\Enum\PCI)";
const char* const kCudaVersionFile = "";
const char* const kHailoDeviceFolder = "";

} // namespace tavo::vms_server_plugins::analytics::orlix
