#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/options.h"
#include "device.h"

namespace tavo::devkit
{

// The cameras that the host has now. Any thread; cameras come and go one at a time, and nobody who
// only looks waits for that.
class DeviceList
{
public:
    // `surroundings` without the annotator, which belongs to the camera of index `annotatedCamera`
    // alone. `annotator` may be null. All are not owned and outlive the list.
    struct Plan
    {
        Device::Surroundings surroundings;
        std::string video; // what a camera shows whose record names nothing else
        Annotator* annotator = nullptr;
        int annotatedCamera = 0;
        // What the user without hands enters for a device.
        std::function<SettingValues(const std::string& deviceId)> userValues;
    };

    explicit DeviceList(Plan plan);

    // Releases the agents, the newest first.
    ~DeviceList();

    // Obtains the agent of a device that the records have. Throws std::runtime_error.
    void obtain(const std::string& deviceId);

    // Frames flow from now on, those of cameras that come later included.
    void start();

    // Ends the flow of frames for good.
    void stop();

    // A new camera: into the records, and with an agent. Gives its id. Throws std::runtime_error;
    // then there is no such camera.
    std::string add(const std::string& name, const std::string& source);

    // Takes the camera and its records away. False when there is no such camera.
    bool remove(const std::string& deviceId);

    [[nodiscard]] std::vector<std::shared_ptr<Device>> all() const;

    // Null when there is no such camera.
    [[nodiscard]] std::shared_ptr<Device> find(const std::string& deviceId) const;

private:
    void obtainLocked(const std::string& deviceId);
    [[nodiscard]] std::string sourceOf(const std::string& deviceId) const;

private:
    const Plan m_plan;
    std::mutex m_changeMutex; // one change at a time
    bool m_isRunning = false;
    int m_nextIndex = 0;
    mutable std::mutex m_listMutex; // taken after the other, and shortly
    std::vector<std::shared_ptr<Device>> m_devices;
};

} // namespace tavo::devkit
