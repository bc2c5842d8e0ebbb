// The built library driven as a host drives it, with real services, the real application and real
// processes: from a machine with nothing on it to objects, and through what a user can do.

#include <sstream>

#include <testing/comes_true.h>
#include <testing/platform.h>
#include <testing/programs.h>

#include "media/video_source.h"
#include "new_server.h"
#include "road_fixture.h"
#include "utils/process.h"
#include "utils/shm.h"
#include "utils/sockets.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

bool segmentExists(const std::string& name)
{
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, name);
    const bool isOpen = orlix::shm_open(segment);
    orlix::shm_close(segment);
    return isOpen;
}

} // namespace

TEST_F(RoadTest, anEncryptedModelGoesFromTheCloudToObjectsAndLeavesNothingInTheClear)
{
    startFromNothing(/*encryptedModel*/ true);
    for (const char* const part :
         {R"("pluginVersion":"4.6.66")", R"("name":"Generic CPU")", R"("siteID":"system")"})
        EXPECT_TRUE(contains(m_sandbox.serverRecord(), part)) << m_sandbox.serverRecord();
    waitFor(
        "runtimeActive",
        [&]() { return contains(m_sandbox.serverRecord(), R"("runtimeActive":true)"); });
    EXPECT_TRUE(contains(deviceRecord(), R"("PluginEnabled":true)")) << deviceRecord();
    EXPECT_TRUE(contains(m_host->dialog(), "Active ORLIX Runtime: Generic CPU"));

    EXPECT_EQ(kModel, m_folder.read("tmp/motion.bin"));
    EXPECT_TRUE(test_support::isPrivate(m_folder.path("tmp/motion.bin")));
    EXPECT_FALSE(contains(m_folder.read(Sandbox::inManager("cache/encrypted/motion.bin")), kModel));
    const std::string settings = m_folder.read(Sandbox::inManager("etc/settings.json"));
    EXPECT_TRUE(contains(settings, "motion.bin")) << settings;
    EXPECT_FALSE(contains(settings, "encrypted")) << settings; // the copy, and not the cache's file

    m_host.reset();
    EXPECT_FALSE(m_folder.has("tmp/motion.bin"));
    EXPECT_TRUE(contains(deviceRecord(), R"("PluginEnabled":false)")) << deviceRecord();

    // The next start finds everything where it was.
    const std::string before = requests();
    startHost();
    waitForObjects();
    const std::string after = requests().substr(before.size());
    for (const char* const path : {"/models/", "/apps/", "/runtimes/", "/reset/"})
        EXPECT_FALSE(contains(after, path)) << after;
}

TEST_F(RoadTest, everyButtonOfTheDialogDoesWhatItSays)
{
    startFromNothing(/*encryptedModel*/ false);
    waitForDialog("button selectAllButton");
    const auto resets = [&]() { return countOf(requests(), "POST /dev/reset/"); };

    const auto shown = [&]() { return contains(settingsRecord(), R"("visualise_motion":"true")"); };
    EXPECT_TRUE(shown()) << settingsRecord();
    m_host->press("deSelectAllButton");
    EXPECT_FALSE(shown()) << settingsRecord();
    m_host->press("selectAllButton");
    EXPECT_TRUE(shown()) << settingsRecord();
    m_host->press("manageDevice");
    EXPECT_TRUE(contains(m_host->produced(), R"("kind":"actionResponse")")) << m_host->produced();
    EXPECT_TRUE(contains(m_host->produced(), "/admin/device/"));

    const std::string log = Sandbox::inManager("etc/brunmod_start.log");
    m_host->press("triggerReferenceRunButton");
    waitFor("reference run", [&]() { return contains(m_folder.read(log), "eference run"); });

    for (const char* const button : {"resetSingleDeviceButton", "resetAllDevicesButton"})
    {
        SCOPED_TRACE(button);
        const std::size_t before = resets();
        m_host->press(button);
        EXPECT_TRUE(contains(m_host->dialog(), "Device reset in progress."));
        waitFor("reset", [&]() { return resets() == before + 1; });
        waitFor(
            "end of the text",
            [&]() { return !contains(m_host->dialog(), "Device reset in progress."); });
    }

    // A changed model that cannot be fetched, then one that can, and a restart with it.
    const std::vector<std::uint32_t> firstRun = processes("brunmod");
    switchFault("/models/", "wrongDigest");
    touchModels("2026-11-02T12:00:00");
    m_host->press("resetAllDevicesButton");
    waitForDialog("warning: Model digest in header does not match downloaded file hash.");
    waitForDialog("button modelDownloadRetryButton");
    EXPECT_EQ(kModel, m_folder.read(Sandbox::inManager("cache/unencrypted/motion.bin")));
    clearFaults();
    m_host->press("modelDownloadRetryButton");
    waitForRestart(firstRun);
    waitForObjects();
    EXPECT_FALSE(contains(m_host->dialog(), "warning: "));

    m_host->press("reselectRuntimeButton");
    waitForDialog("button libraryChoiceIntel");
    EXPECT_FALSE(m_folder.has(Sandbox::inManager("bin/installed_runtime.txt")));
    EXPECT_TRUE(contains(m_sandbox.serverRecord(), R"("mimetypes":[""],"name":"")"))
        << m_sandbox.serverRecord();
    m_host->press("libraryChoiceIntel");
    waitForObjects();
    EXPECT_EQ("Intel", m_folder.read(Sandbox::inManager("bin/installed_runtime.txt")));

    m_host->press("clearCacheButton");
    waitForDialog("button libraryChoiceIntel"); // the application is there again by then
    EXPECT_EQ(2u, countOf(requests(), "GET /apps/"));
    m_host->press("libraryChoiceIntel");
    waitForObjects();
}

TEST_F(RoadTest, aServiceThatFailsIsToldAndComesBackWhenItDoes)
{
    startServices(/*encryptedModel*/ false);
    switchFault("/apps/", "reset"); // of one that was cut somewhere, all that counts may be there
    startHost();
    waitForDialog("info: The Tavo Orlix Manager could not be installed. Consult");
    EXPECT_FALSE(m_folder.has("tmp/orlix_manager.tgz"));
    clearFaults();
    m_host.reset(); // a failed installation stays until the next start
    startHost();
    waitForDialog("button libraryChoiceGeneric CPU");

    switchFault("/available-pipelines", "body"); // that is no JSON
    switchFault("/runtimes/", "status");
    m_host->press("libraryChoiceGeneric CPU");
    waitForDialog("info: The ORLIX Plugin could not install the acceleration library.");
    clearFaults();
    switchFault("/available-pipelines", "body");
    m_host->press("reselectRuntimeButton");
    waitForDialog("button libraryChoiceGeneric CPU");
    m_host->press("libraryChoiceGeneric CPU");
    waitForDialog("warning: Could not fetch available pipelines from cloud.");
    waitForObjects(); // what the device was reset to works without them
}

TEST_F(RoadTest, aKilledApplicationIsReportedAndRunsAgain)
{
    startFromNothing(/*encryptedModel*/ true);
    for (const char* const program : {"brunmod", "brund"}) // which says so, where it can
    {
        SCOPED_TRACE(program);
        const std::vector<std::uint32_t> running = processes("brunmod");
        ASSERT_EQ(1u, running.size());
        std::istringstream segments(m_folder.read(Sandbox::inManager("etc/brunmod_segments.txt")));
        test_support::endProcess(processes(program).front());
        waitForRestart(running);
        waitForDialog("warning: Detected Orlix Manager crash.");
        waitForObjects();
        for (std::string name; std::getline(segments, name);)
            EXPECT_FALSE(segmentExists(name)) << name;
    }
    EXPECT_TRUE(contains(
        m_folder.read(Sandbox::inManager("etc/brunmod_crash.log")),
        "Error! The engine has ended: exit code"));
}

TEST_F(RoadTest, peersThatSendWhatTheyShouldNotCostNobodyElse)
{
    startFromNothing(/*encryptedModel*/ false);
    const std::vector<std::uint32_t> running = processes("brunmod");
    std::vector<orlix::SocketHandle> peers;
    const auto connect = [&]
    { return peers.emplace_back(orlix::socket_connect(m_folder.path("tmp/orlix_manager.sock"))); };
    for (int i = 0; i < 200; ++i) // more than are kept
        connect();
    for (const std::string& body :
         {std::string(), std::string("\xc1"), std::string("\x81"), std::string(60'000, '\x91'),
          // An announcement, and no more.
          std::string("\x83\xabmessageType\x00\xaaInputIndex\x00\xa4Size\xcd\x10\x00", 34)})
    {
        orlix::socket_send_message(connect(), body.data(), static_cast<std::uint32_t>(body.size()));
    }
    // A size beyond any bound, and one whose body never comes.
    for (const std::string& size : {std::string(4, '\xff'), std::string("d\0\0\0", 4)})
        EXPECT_TRUE(test_support::sendBytes(connect(), size));

    waitForObjects();
    EXPECT_EQ(running, processes("brunmod"));
    for (const orlix::SocketHandle peer : peers)
        orlix::socket_close(peer);
}

TEST_F(RoadTest, aKilledHostTakesTheApplicationAlong)
{
    startFromNothing(/*encryptedModel*/ true);
    m_host.reset();

    // The stand-in host's own program, which never gets to its end.
    test_support::LoneProgram host(
        {TAVO_HOST_FILE, "--plugin", TAVO_PLUGIN_FILE, "--work-dir", m_folder.path("home"),
         "--video", kGeneratedVideo, "--records", m_folder.path(kRecordsFile)});
    EXPECT_TRUE(test_support::comesTrue([&]() { return !processes("brund").empty(); }));
    EXPECT_TRUE(m_folder.has("tmp/motion.bin"));
    host.end();

    const auto isGone = [&]()
    {
        return processes("brunmod").empty() && processes("brund").empty() &&
            !(orlix::kFilesEndWithJobs && m_folder.has("tmp/motion.bin"));
    };
    EXPECT_TRUE(test_support::comesTrue(isGone))
        << "a process or the decrypted model outlived its host";

    startHost(); // over whatever sockets are left
    waitForObjects();
    EXPECT_EQ(1u, processes("brunmod").size());
    EXPECT_EQ(1u, processes("brund").size());
}

} // namespace tavo::devkit
