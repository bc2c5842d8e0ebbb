#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "driven_host.h"
#include "sandbox.h"

namespace tavo::devkit
{

// A host with its two cameras switched on and fed, as long as it lives. Before the first nothing
// ever moves; all that is told here is of the second, where something does.
class RunningHost
{
public:
    explicit RunningHost(Sandbox& sandbox);
    ~RunningHost();

    void press(const std::string& button) { m_host.dialog(kMovingCamera).press(button); }

    // The visible banners and buttons of the dialog as a user would see it now, a line each.
    [[nodiscard]] std::string dialog();

    // Whether objects came since the last call.
    [[nodiscard]] bool takeObjects();

    // What the library produced so far, a JSON object a line.
    [[nodiscard]] std::string produced() { return m_host.produced(); }

    static constexpr int kStillCamera = 0;
    static constexpr int kMovingCamera = 1;

private:
    DrivenHost m_host;
    std::uint64_t m_objects = 0;
    std::jthread m_frames; // last: it uses all of the above
};

// The whole road on one machine, with one model. The library reads its options once in a process,
// so each test has a process of its own, as ctest gives it one.
class RoadTest : public testing::Test
{
protected:
    void TearDown() override;

    void startServices(bool encryptedModel);
    void startHost() { m_host = std::make_unique<RunningHost>(m_sandbox); }

    // Brings a machine with nothing on it to the first objects, with a user's choice of a runtime.
    void startFromNothing(bool encryptedModel);

    // Fails the test when it is not so within half a minute.
    void waitFor(const char* what, const std::function<bool()>& isSo);
    void waitForDialog(const std::string& text);
    void waitForObjects();
    void waitForRestart(const std::vector<std::uint32_t>& running);

    [[nodiscard]] std::string deviceRecord() const
    {
        return m_sandbox.deviceRecord(RunningHost::kMovingCamera);
    }
    [[nodiscard]] std::string settingsRecord() const
    {
        return m_sandbox.settingsRecord(RunningHost::kMovingCamera);
    }

    [[nodiscard]] httplib::Client services() const
    {
        return httplib::Client("127.0.0.1", m_sandbox.port());
    }
    void switchFault(const std::string& path, const std::string& kind);
    void clearFaults();
    void touchModels(const std::string& updatedAt);

    // All requests to the services so far, a line each.
    [[nodiscard]] std::string requests() const;

    [[nodiscard]] std::vector<std::uint32_t> processes(const std::string& program) const
    {
        return m_sandbox.processes(program);
    }

    static constexpr char kModel[] = "what a model weighs";

    Sandbox m_sandbox{{"Yard", "Gate"}};
    const vms_server_plugins::analytics::orlix::TemporaryFolder& m_folder = m_sandbox.folder();
    std::unique_ptr<RunningHost> m_host;
};

} // namespace tavo::devkit
