#include "road_fixture.h"

#include <stdexcept>

#include <testing/comes_true.h>

#include "common/json.h"

namespace tavo::devkit
{

using namespace std::chrono_literals;

RunningHost::RunningHost(Sandbox& sandbox) :
    m_host(sandbox)
{
    m_host.load();
    for (const int camera : {kStillCamera, kMovingCamera})
    {
        SettingValues values = UserSettings::defaults().valuesFor("");
        values["visualise_motion"] = "true";
        m_host.dialog(camera).refresh();
        m_host.dialog(camera).apply(values);
    }
    m_frames = std::jthread(
        [this](std::stop_token stop)
        {
            for (int step = 0; !stop.stop_requested(); ++step)
            {
                m_host.push(kStillCamera, 0);
                m_host.push(kMovingCamera, step);
                std::this_thread::sleep_for(40ms);
            }
        });
}

RunningHost::~RunningHost()
{
    m_frames.request_stop();
    m_frames.join();
    EXPECT_EQ(0u, m_host.totals(kStillCamera).objects) << "results of the other camera";
    EXPECT_EQ(0, m_host.unload()) << "objects of the library were never released";
}

std::string RunningHost::dialog()
{
    m_host.dialog(kMovingCamera).refresh();
    return m_host.dialogText(kMovingCamera);
}

bool RunningHost::takeObjects()
{
    const std::uint64_t objects = m_host.totals(kMovingCamera).objects;
    return std::exchange(m_objects, objects) != objects;
}

void RoadTest::TearDown()
{
    m_host.reset();
    EXPECT_TRUE(processes("brunmod").empty());
    EXPECT_TRUE(processes("brund").empty());
    EXPECT_EQ("", m_sandbox.temporaryFiles());
}

void RoadTest::startServices(bool encryptedModel)
{
    m_sandbox.startServices({{"motion.bin", kModel, encryptedModel}}, {"logVerbosityLevel=2"});
}

void RoadTest::startFromNothing(bool encryptedModel)
{
    startServices(encryptedModel);
    startHost();
    // A machine that runs one runtime alone has no choice.
    const std::string choice = "libraryChoiceGeneric CPU";
    bool hasChoice = false;
    waitFor(
        "runtime",
        [&]()
        {
            const std::string dialog = m_host->dialog();
            hasChoice = dialog.find("button " + choice + "\n") != std::string::npos;
            return hasChoice ||
                dialog.find("Active ORLIX Runtime: Generic CPU") != std::string::npos;
        });
    if (hasChoice)
        m_host->press(choice);
    waitForObjects();
}

void RoadTest::waitFor(const char* what, const std::function<bool()>& isSo)
{
    if (test_support::comesTrue(isSo))
        return;
    ADD_FAILURE() << what << ": did not come about.\n" << m_host->dialog();
    throw std::runtime_error(what);
}

void RoadTest::waitForDialog(const std::string& text)
{
    waitFor(text.c_str(), [&]() { return m_host->dialog().find(text) != std::string::npos; });
}

void RoadTest::waitForObjects()
{
    (void)m_host->takeObjects();
    waitFor("objects", [&]() { return m_host->takeObjects(); });
}

void RoadTest::waitForRestart(const std::vector<std::uint32_t>& running)
{
    waitFor(
        "restart",
        [&]()
        {
            const auto now = processes("brunmod");
            return !now.empty() && now != running;
        });
}

void RoadTest::switchFault(const std::string& path, const std::string& kind)
{
    JsonMaker fault;
    fault.add("path", path).add("kind", kind);
    const auto result = services().Post("/control/faults", fault.text(), "application/json");
    ASSERT_TRUE(result && result->status == 204);
}

void RoadTest::clearFaults()
{
    ASSERT_TRUE(services().Delete("/control/faults"));
}

void RoadTest::touchModels(const std::string& updatedAt)
{
    ASSERT_TRUE(services().Post("/control/updated-at", updatedAt, "text/plain"));
}

std::string RoadTest::requests() const
{
    const auto result = services().Get("/control/requests");
    return result ? result->body : "";
}

} // namespace tavo::devkit
