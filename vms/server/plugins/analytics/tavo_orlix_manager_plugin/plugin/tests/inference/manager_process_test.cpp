#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include "inference/restart_policy.h"
#include "manager_fixture.h"
#include "module_peer.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

TEST(RestartPolicy, ForgetsACrashAfterTenSeconds)
{
    const struct
    {
        const char* name;
        std::uint64_t startCount;
        std::uint64_t startTimeMs;
        std::uint64_t nowMs;
        bool outlived;
    } kCases[] = {
        {"restart that stays up", 2, 1'000, 11'001, true},
        {"ten seconds sharp", 2, 1'000, 11'000, false},
        {"many restarts", 9, 0, 10'001, true},
        {"no crash before", 1, 0, 1'000'000, false},
        {"a clock that was set back", 2, 20'000, 1'000, false}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.outlived, hasOutlivedCrash(c.startCount, c.startTimeMs, c.nowMs));
    }
}

// The application is a script of the shell; it is killed with the test at the latest.
class ManagerProcessTest : public test::ManagerFixture
{
protected:
    ManagerProcessTest()
    {
        std::filesystem::create_directories(folder.path("orlix_manager/etc"));
        ini().restartOrlixManagerOnCrash = true;
    }
    ~ManagerProcessTest() override
    {
        manager.stop(models);
        ini().restartOrlixManagerOnCrash = true;
    }

    void install(const std::string& script)
    {
        folder.writeScript("orlix_manager/bin/" + std::string(kManagerExecutable), script);
    }

    void start() { manager.start(models, folder.path("orlix_plugin.sock")); }
    ManagerState check() { return manager.checkRunning(nullptr); }
    bool ends()
    {
        return test::comesTrue([&]() { return check() == ManagerState::Stopped; });
    }

    void addModel(const std::string& id, bool encrypted)
    {
        models[id] = {id,
                      "name",
                      "1",
                      folder.path(id),
                      folder.path(id + ".key"),
                      folder.path(id + ".run"),
                      encrypted};
    }

    AssignedModels models;
};

constexpr char kEndsWhenTold[] = "trap 'exit 0' TERM; touch \"$(dirname $0)/up\"\n"
                                 "while [ ! -e \"$(dirname $0)/end\" ]; do sleep 0.05; done\n";

TEST_F(ManagerProcessTest, TellsTheApplicationWhereToConnect)
{
    install("printf '%s\\n' \"$@\" > \"$0.arguments.new\"; pwd >> \"$0.arguments.new\"\n"
            "mv \"$0.arguments.new\" \"$0.arguments\"\n");
    start();
    const std::string file = "orlix_manager/bin/" + std::string(kManagerExecutable) + ".arguments";
    ASSERT_TRUE(test::comesTrue([&]() { return folder.has(file); }));
    EXPECT_EQ(
        "-i\n" + folder.path("orlix_manager.sock") + "\n-o\n" + folder.path("orlix_plugin.sock") +
            "\n-l\n1\n-v\n1\n" + std::filesystem::current_path().string() + "\n",
        folder.read(file));
}

TEST_F(ManagerProcessTest, StopsWhatStopsByItself)
{
    install(kEndsWhenTold);
    EXPECT_EQ(ManagerState::Stopped, check());
    start();
    EXPECT_EQ(ManagerState::Running, manager.state());
    EXPECT_EQ(1u, manager.startCount());
    EXPECT_EQ(ManagerState::Running, check());

    test::ModulePeer peer(folder.path()); // that passes the command on
    peer.reply(
        [&](const std::string&)
        {
            folder.write("orlix_manager/bin/end", "");
            return std::string();
        });
    manager.stop(models);
    EXPECT_EQ(ManagerState::Stopped, manager.state());
    EXPECT_EQ(0u, manager.startCount());
    EXPECT_TRUE(logHas("Stopping Orlix Manager.\n"));
    EXPECT_TRUE(logHas("OrlixManagerInterface: Sent stop command.\n"
                       "Waiting for Orlix Manager to stop.\n"));
    EXPECT_TRUE(logHas("Orlix Manager stopped with exit code 0\n"));
    EXPECT_EQ("", onBoard(board_key::kManagerCrash));
}

TEST_F(ManagerProcessTest, KillsWhatDoesNotStop)
{
    install("trap '' TERM\nwhile :; do sleep 1; done\n");
    start();
    manager.stop(models);
    EXPECT_EQ(ManagerState::Stopped, manager.state());
    EXPECT_TRUE(
        logHas("Warning! Orlix Manager did not exit gracefully: -2. Sending kill signal.\n"));
    EXPECT_TRUE(logHas("Orlix Manager stopped with exit code 9\n"));
}

TEST_F(ManagerProcessTest, ReportsACrashWithItsLastWords)
{
    install("echo first words >&2; echo 'no %s memory' >&2; exit 7\n");
    folder.write("orlix_manager/etc/brunmod_start.log", "module's");
    folder.write("orlix_manager/etc/brunmod_crash.log", "of an earlier crash, and longer");
    start();
    ASSERT_TRUE(ends());
    EXPECT_EQ(
        "Detected Orlix Manager crash. This could indicate a problem with your device. "
        "Contact support.\nfirst words\nno %s memory\n",
        onBoard(board_key::kManagerCrash));
    EXPECT_TRUE(logHas("Detected Orlix Manager crash Exit status: 7 Error: \n"));
    EXPECT_EQ("module's", folder.read("orlix_manager/etc/brunmod_crash.log"));
    EXPECT_TRUE(logHas(
        "Warning! Engine log file does not exist: " +
        folder.path("orlix_manager/etc/brund_0_start.log") + "\n"));
}

TEST_F(ManagerProcessTest, KeepsTheCrashReportUntilARestartHasLasted)
{
    install("exit 1\n");
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

TEST_F(ManagerProcessTest, DoesNotRestartWhereThatIsSwitchedOff)
{
    ini().restartOrlixManagerOnCrash = false;
    install("exit 1\n");
    start(); // a first start, which the switch does not touch
    ASSERT_TRUE(ends());
    start();
    EXPECT_EQ(ManagerState::Stopped, manager.state());
    EXPECT_EQ(1u, manager.startCount());
    EXPECT_TRUE(logHas("Warning! Orlix Manager crash detected. Not restarting.\n"));
}

TEST_F(ManagerProcessTest, FailsWithoutTheApplication)
{
    start();
    EXPECT_EQ(ManagerState::Failed, manager.state());
    EXPECT_EQ(
        "Failed to start Orlix Manager application. The files could be corrupted or missing.",
        onBoard(board_key::kCouldNotStart));
    EXPECT_EQ(ManagerState::Failed, check());
    manager.stop(models);
    EXPECT_EQ(ManagerState::Failed, manager.state());

    install(kEndsWhenTold);
    start();
    EXPECT_EQ(ManagerState::Running, manager.state());
    EXPECT_EQ("", onBoard(board_key::kCouldNotStart));
    folder.write("orlix_manager/bin/end", "");
}

TEST_F(ManagerProcessTest, FailsWithoutAModelsFiles)
{
    install(kEndsWhenTold);
    addModel("m", /*encrypted*/ true);
    start();
    EXPECT_EQ(
        "Model file missing for m. This could be caused by failed downloads or invalid "
        "configuration.",
        onBoard(board_key::kCouldNotStart));
    EXPECT_TRUE(logHas("Error! Model file is missing: " + folder.path("m") + "\n"));

    folder.write("m", "no model");
    start();
    EXPECT_EQ(
        "Model key file missing for m. Logging into Orlix cloud or clicking the 'Manage "
        "Device' button, then restarting the mediaserver, might fix this error.",
        onBoard(board_key::kCouldNotStart));

    folder.write("m.key", std::string(32, 'k'));
    start();
    EXPECT_EQ(
        "Failed to decrypt model m for Orlix Manager. File could be corrupted.",
        onBoard(board_key::kCouldNotStart));
    EXPECT_EQ(ManagerState::Failed, manager.state());
    EXPECT_FALSE(folder.has("orlix_manager/bin/up"));
}

// As the cloud stores it: 12 bytes of initialisation vector, the ciphertext, 16 bytes of tag.
std::string encrypted(const std::string& plain, const std::string& key)
{
    const std::string vector(12, 'v');
    std::string cipher(plain.size(), '\0');
    std::string tag(16, '\0');
    int size = 0;
    const auto bytes = [](std::string& text)
    { return reinterpret_cast<unsigned char*>(text.data()); };
    const auto constBytes = [](const std::string& text)
    { return reinterpret_cast<const unsigned char*>(text.data()); };
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(context, EVP_aes_256_gcm(), nullptr, constBytes(key), constBytes(vector));
    EVP_EncryptUpdate(
        context, bytes(cipher), &size, constBytes(plain), static_cast<int>(plain.size()));
    EVP_EncryptFinal_ex(context, bytes(cipher), &size);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, 16, tag.data());
    EVP_CIPHER_CTX_free(context);
    return vector + cipher + tag;
}

TEST_F(ManagerProcessTest, DecryptsForTheRunOnly)
{
    install(kEndsWhenTold);
    const std::string key(32, 'k');
    addModel("secret", /*encrypted*/ true);
    addModel("plain", /*encrypted*/ false);
    folder.write("secret", encrypted("weights", key));
    folder.write("secret.key", key);
    folder.write("plain", "plain weights");
    start();
    ASSERT_EQ(ManagerState::Running, manager.state()) << onBoard(board_key::kCouldNotStart);
    EXPECT_EQ("weights", folder.read("secret.run"));
    using std::filesystem::perms;
    EXPECT_EQ(
        perms::owner_read | perms::owner_write,
        std::filesystem::status(folder.path("secret.run")).permissions());
    EXPECT_FALSE(folder.has("plain.run"));

    folder.write("orlix_manager/bin/end", "");
    manager.stop(models);
    EXPECT_FALSE(folder.has("secret.run"));
    EXPECT_TRUE(folder.has("plain"));
    EXPECT_TRUE(logHas("Deleting encrypted file: " + folder.path("secret.run") + "\n"));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
