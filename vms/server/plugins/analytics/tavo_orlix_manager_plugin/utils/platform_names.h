#pragma once

#include <string_view>

// What has another name on another platform.

namespace tavo::vms_server_plugins::analytics::orlix
{

extern const char kPathSeparator;

extern const char* const kManagerExecutable; // the manager application, in its folder "bin"
extern const char* const kEngineExecutable; // the inference engine beside it
extern const char* const kRuntimeLibrary; // the library of an installed runtime
extern const char* const kArchiveTag; // the platform in the name of the application's archive

// A line for runCommand that makes the folder anew, and empty. Every "{folder_path}" in it is to be
// replaced; the path may hold anything but a double quote.
extern const char* const kMakeFolderCommand;

// False for a text that the system would take for something else than the name of one file: a
// device, a stream within a file, a name without its end. Separators are not looked for.
[[nodiscard]] bool isNameOfFile(std::string_view text);

// What is written there is gone.
extern const char* const kNullDevice;

// Where the system lists its PCI devices.
extern const char* const kPciDeviceRoot;

// Where a toolkit tells its version when CUDA_PATH is not set; empty where there is no such place.
extern const char* const kCudaVersionFile;

// The folder whose entries are the Hailo devices; empty where there is no such place.
extern const char* const kHailoDeviceFolder;

} // namespace tavo::vms_server_plugins::analytics::orlix
