#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "encrypted_model.h"
#include "manager_fixture.h"
#include "module_peer.h"
#include "utils/log.h"
#include "utils/paths.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// The application is killed with the test at the latest.
class ManagerProcessTest : public test::ManagerFixture
{
protected:
    ManagerProcessTest() { std::filesystem::create_directories(folder.path("orlix_manager/etc")); }
    ~ManagerProcessTest() override
    {
        manager.stop(models);
        ini().restartOrlixManagerOnCrash = true;
    }

    void install(const std::string& steps)
    {
        folder.writeProgram("orlix_manager/bin/" + std::string(kManagerExecutable), steps);
    }

    void start() { manager.start(models, folder.path("orlix_plugin.sock")); }
    ManagerState check() { return manager.checkRunning(nullptr); }
    bool ends()
    {
        return test::comesTrue([&]() { return check() == ManagerState::Stopped; });
    }

    void assignModel(const std::string& id)
    {
        models[id] = {
            id,  "Net", "", folder.path(id), folder.path(id + ".key"), folder.path(id + ".run"),
            true};
    }

    void encryptModel(const std::string& id = "m")
    {
        const std::string key(32, 'k');
        folder.write(id, test::encryptedModel("weights", key));
        folder.write(id + ".key", key);
        assignModel(id);
    }

    AssignedModels models;
};

constexpr char kEndsWhenTold[] = "wait-for end";

TEST_F(ManagerProcessTest, StopsWhatStopsByItself)
{
    ini().logToFile = true;
    ini().logVerbosityLevel = 2;
    install("write-arguments arguments\n" + std::string(kEndsWhenTold));
    start();
    EXPECT_EQ(ManagerState::Running, check());

    test::ModulePeer peer(folder.path()); // that passes the command on
    peer.replyBy(
        [&]()
        {
            folder.write("orlix_manager/bin/end", "");
            return std::string();
        });
    manager.stop(models);
    EXPECT_EQ(ManagerState::Stopped, manager.state());
    EXPECT_EQ(0u, manager.startCount());
    EXPECT_TRUE(logHas("Orlix Manager stopped with exit code 0\n"));
    EXPECT_EQ("", onBoard(board_key::kManagerCrash));
    EXPECT_EQ(
        "-i " + path_join(folder.path(), protocol::kModuleSocketFile) + " -o " +
            folder.path(protocol::kPluginSocketFile) + " -l 1 -v 2\n",
        folder.read("orlix_manager/bin/arguments"));
}

TEST_F(ManagerProcessTest, KillsWhatDoesNotStop)
{
    install("ignore-requests-to-end\nsleep 1000");
    start();
    manager.stop(models);
    EXPECT_EQ(ManagerState::Stopped, manager.state());
    EXPECT_TRUE(logHas("Orlix Manager stopped with exit code 9\n"));
}

TEST_F(ManagerProcessTest, ReportsACrashWithItsLastWords)
{
    install("error first words\nerror no %s memory\nexit 7");
    folder.write("orlix_manager/etc/brunmod_start.log", "module's");
    folder.write("orlix_manager/etc/brund_0_start.log", "engine's");
    folder.write("orlix_manager/etc/brunmod_crash.log", "of an earlier crash, and longer");
    start();
    ASSERT_TRUE(ends());
    EXPECT_EQ(
        "Detected Orlix Manager crash. This could indicate a problem with your device. "
        "Contact support.\nfirst words\nno %s memory\n",
        onBoard(board_key::kManagerCrash));
    EXPECT_TRUE(logHas("Detected Orlix Manager crash Exit status: 7 Error: \n"));
    EXPECT_EQ("module's", folder.read("orlix_manager/etc/brunmod_crash.log"));
    EXPECT_EQ("engine's", folder.read("orlix_manager/etc/brund_0_crash.log"));

    ini().restartOrlixManagerOnCrash = false;
    start();
    EXPECT_EQ(ManagerState::Stopped, manager.state());
    ini().restartOrlixManagerOnCrash = true;
    start();
    EXPECT_EQ(ManagerState::Running, manager.state());
}

// Also where it is not started again.
TEST_F(ManagerProcessTest, LeavesNothingOfACrash)
{
    const std::string child = folder.path("child");
    const std::string program =
        test_support::programFile("orlix_manager/bin/" + std::string(kManagerExecutable));
    encryptModel();
    install(
        "write-id " + folder.path("own") + "\nwait-for begin\nstart-apart write-id," + child +
        ",sleep,1000\nwait-for " + child + "\nexit 7");
    start();
    ASSERT_TRUE(test::comesTrue([&] { return folder.has("own"); }));
    std::filesystem::remove(folder.path(program + ".steps")); // the child has steps of its own
    folder.write("orlix_manager/bin/begin", "");
    ASSERT_TRUE(ends());
    EXPECT_FALSE(folder.has("m.run"));
    const auto id = static_cast<std::uint32_t>(std::stoul(folder.read("child")));
    EXPECT_TRUE(test::comesTrue([&] { return !test_support::isRunning(id); }));
}

TEST_F(ManagerProcessTest, KeepsTheCrashReportUntilARestartHasLasted)
{
    install("exit 1");
    start();
    ASSERT_TRUE(ends());
    EXPECT_NE("", onBoard(board_key::kManagerCrash));

    install(kEndsWhenTold);
    const std::uint64_t before = time_now_ms();
    start();
    const std::uint64_t after = time_now_ms();
    EXPECT_EQ(2u, manager.startCount());
    EXPECT_EQ(ManagerState::Running, manager.checkRunning(nullptr, before + 10'000));
    EXPECT_NE("", onBoard(board_key::kManagerCrash));
    EXPECT_EQ(ManagerState::Running, manager.checkRunning(nullptr, after + 10'001));
    EXPECT_EQ("", onBoard(board_key::kManagerCrash));
    EXPECT_EQ(1u, manager.startCount());
    folder.write("orlix_manager/bin/end", "");
}

TEST_F(ManagerProcessTest, DecryptsItsModelsForAsLongAsItRuns)
{
    encryptModel();
    install("exec sleep 1000\n");
    start();
    EXPECT_EQ(ManagerState::Running, manager.state());
    EXPECT_EQ("weights", folder.read("m.run"));
    manager.stop(models);
    EXPECT_FALSE(folder.has("m.run"));
    EXPECT_TRUE(folder.has("m"));

    encryptModel("good");
    const std::string key(32, 'k');
    const std::string model = folder.read("m");
    const struct
    {
        std::string key;
        std::string model;
        const char* why;
    } cases[] = {
        {std::string(32, 'x'), model, "The model's file and its key do not belong together."},
        {std::string(31, 'k'), model, "The model's key is too short."},
        {key, model.substr(0, 27), "The model's file is too short."},
    };
    for (const auto& c : cases)
    {
        folder.write("m.key", c.key);
        folder.write("m", c.model);
        start();
        EXPECT_EQ(ManagerState::Failed, manager.state());
        EXPECT_EQ(
            std::string(
                "Failed to decrypt model Net (m) for Orlix Manager. File could be corrupted. ") +
                c.why,
            onBoard(board_key::kCouldNotStart));
        EXPECT_FALSE(folder.has("good.run") || folder.has("m.run"));
    }
    encryptModel();
    models["m"].runtimePath = folder.path("none/m.run");
    start();
    EXPECT_EQ(ManagerState::Failed, manager.state());
    EXPECT_NE(std::string::npos, onBoard(board_key::kCouldNotStart).find("There is no "));
}

// Which is no crash: the next try is made, whatever the ini file says of those.
TEST_F(ManagerProcessTest, FailsWithoutItsFiles)
{
    ini().restartOrlixManagerOnCrash = false;
    assignModel("m");
    start();
    EXPECT_NE(
        std::string::npos, onBoard(board_key::kCouldNotStart).find("file missing for Net (m)."));
    EXPECT_EQ(ManagerState::Failed, check());
    EXPECT_EQ(1u, manager.startCount());
    EXPECT_TRUE(manager.lacksFiles());
    folder.write("m", "a model");
    start();
    EXPECT_NE(
        std::string::npos,
        onBoard(board_key::kCouldNotStart).find("Model key file missing for Net (m)."));
    EXPECT_TRUE(manager.lacksFiles());
    models.clear();
    start();
    EXPECT_FALSE(manager.lacksFiles());
    EXPECT_EQ(
        "Failed to start Orlix Manager application. The files could be corrupted or missing.",
        onBoard(board_key::kCouldNotStart));
    install(kEndsWhenTold);
    start();
    EXPECT_EQ("", onBoard(board_key::kCouldNotStart));
    EXPECT_EQ(ManagerState::Running, manager.state());
    folder.write("orlix_manager/bin/end", "");
}

TEST_F(ManagerProcessTest, WritesThatFilesAreMissingOnceForManyTries)
{
    const std::string path = folder.path("log");
    log_init(path, folder.path("main.log"), "", /*console*/ false, /*file*/ true, 1);
    assignModel("m");
    start();
    start();
    log_close();
    const std::string written = folder.read("log");
    for (const std::string text :
         {"Starting Orlix", "Model file is missing", "Error! Model file m"})
    {
        const std::size_t first = written.find(text);
        EXPECT_NE(std::string::npos, first) << text;
        EXPECT_EQ(first, written.rfind(text)) << text;
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
