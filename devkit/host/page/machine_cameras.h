#pragma once

#include <string>
#include <vector>

namespace tavo::devkit
{

// A camera that is plugged into this machine.
struct MachineCamera
{
    std::string name; // its maker's
    std::string source; // what a video feed opens
};

[[nodiscard]] std::vector<MachineCamera> listMachineCameras();

} // namespace tavo::devkit
