#include "page/machine_cameras.h"

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tavo::devkit
{

namespace
{

// A camera has more than one node, of which one gives pictures.
bool readCapabilities(const char* path, v4l2_capability* capabilities)
{
    const int device = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (device < 0)
        return false;
    const bool isRead = ioctl(device, VIDIOC_QUERYCAP, capabilities) == 0;
    close(device);
    return isRead && capabilities->device_caps & V4L2_CAP_VIDEO_CAPTURE;
}

} // namespace

std::vector<MachineCamera> listMachineCameras()
{
    std::vector<MachineCamera> cameras;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/dev", error), end; entry != end;
         entry.increment(error))
    {
        const std::string path = entry->path().string();
        v4l2_capability capabilities{};
        if (entry->path().filename().string().starts_with("video") &&
            readCapabilities(path.c_str(), &capabilities))
        {
            cameras.push_back({reinterpret_cast<const char*>(capabilities.card), path});
        }
    }
    std::sort(
        cameras.begin(), cameras.end(),
        [](const auto& left, const auto& right) { return left.source < right.source; });
    return cameras;
}

} // namespace tavo::devkit
