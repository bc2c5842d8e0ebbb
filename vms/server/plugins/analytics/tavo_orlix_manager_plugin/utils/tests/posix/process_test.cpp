#include "utils/process.h"

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "../process_tree.h"
#include "forked_process.h"
#include "utils/files.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

ProcessRecord startShell(const std::string& script, PipeEnd* errorPipe = nullptr)
{
    return process_start(
        std::vector<std::string>{"sh", "-c", script}, /*console*/ false, errorPipe);
}

TEST(PosixProcessTest, noProcessOutlivesItsHost)
{
    for (const int signal : {SIGKILL, SIGTERM, SIGSEGV})
    {
        SCOPED_TRACE(signal);
        WrittenIds tree;
        ProcessRecord record;
        ForkedProcess host(
            [&]
            {
                // What the host forks on its own holds copies of all descriptors.
                if (fork() == 0)
                {
                    while (tree.areNeeded())
                        usleep(5000);
                    _exit(0);
                }
                record = process_start(treeProgram(tree), /*console*/ false);
                ::signal(SIGSEGV, SIG_DFL); // a sanitizer's handler takes its time
            });
        ASSERT_TRUE(tree.waitFor(kTreeSize));
        host.end(signal);
        EXPECT_TRUE(tree.allEnd());
    }
}

TEST(PosixProcessTest, theHostsWayWithItsChildrenDoesNotMatter)
{
    using Handler = void (*)(int);
    const Handler ignore = SIG_IGN;
    const Handler collectAll = [](int)
    {
        const int error = errno;
        while (waitpid(-1, nullptr, WNOHANG) > 0)
            continue;
        errno = error;
    };
    for (const Handler handler : {ignore, collectAll})
    {
        struct sigaction action = {};
        struct sigaction before = {};
        action.sa_handler = handler;
        ASSERT_EQ(0, sigaction(SIGCHLD, &action, &before));
        ProcessRecord record = startShell("exit 5");
        EXPECT_EQ(5, process_wait(record, 20));
        record = startShell("exec sleep 1000");
        ExitCode exitCode = 0;
        EXPECT_TRUE(process_is_running(record, exitCode));
        EXPECT_EQ(-2, process_wait(record, 0));
        EXPECT_EQ(9, process_kill(record));
        EXPECT_EQ(9, process_wait(record, 20));
        sigaction(SIGCHLD, &before, nullptr);
    }
}

TEST(PosixProcessTest, lastWordsAreKeptHoweverManyCameBefore)
{
    const struct
    {
        const char* name;
        std::string script;
        std::size_t least; // bytes
    } cases[] = {
        {"few words", "echo last words >&2; exit 3", 0},
        // A write that fails leaves a stream bad, and the words behind it unsaid.
        {"more than any pipe holds",
         "head -c 3000000 /dev/zero | tr '\\0' x >&2 && echo >&2 && seq 9000 >&2 && "
         "echo last words >&2; exit 3",
         40'000},
        {"with a child that goes on",
         "sh -c 'while echo noise; do sleep 0.01; done' 2>/dev/null & sleep 1000 & "
         "echo last words >&2; exit 3",
         0}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        PipeEnd errors;
        ProcessRecord record = startShell(c.script, &errors);
        EXPECT_EQ(3, process_wait(record, 60));
        const std::string text = pipe_read_text(errors).value_or("failed");
        EXPECT_TRUE(text.ends_with("last words\n")) << text.substr(0, 100);
        EXPECT_EQ(std::string::npos, text.find('x')); // starts with a whole line
        EXPECT_GE(text.size(), c.least);
        EXPECT_LE(text.size(), 64 * 1024u);
    }
}

// A file of that text that is guarded from before its first byte.
void writeGuarded(const ProcessRecord& record, const std::string& path)
{
    const FileStream file(file_open_private(path.c_str()));
    EXPECT_FALSE(test_support::isInherited(fileno(file.get())));
    process_delete_at_end(record, path, file.get());
    std::fputs("secret", file.get());
}

TEST(PosixProcessTest, aFileIsGoneWithItsJobAndNoOtherOfItsName)
{
    constexpr int kFiles = 200;
    const TemporaryFolder folder;
    const auto path = [&](int index) { return folder.path(std::to_string(index)); };
    {
        const ProcessRecord record = process_prepare({"true"}, /*console*/ false);
        for (int i = 0; i < kFiles; ++i)
            writeGuarded(record, path(i));
        // Those of a later run have the same names.
        for (const int taken : {0, kFiles - 1})
        {
            std::filesystem::remove(path(taken));
            std::ofstream(path(taken)) << "of the next run";
        }
        EXPECT_EQ("secret", contentOf(path(1)));
    }
    EXPECT_TRUE(comesTrue([&] { return !std::filesystem::exists(path(kFiles - 2)); }));
    for (int i = 1; i < kFiles - 1; ++i)
        EXPECT_FALSE(std::filesystem::exists(path(i))) << i;
    EXPECT_EQ("of the next run", contentOf(path(0)));
    EXPECT_EQ("of the next run", contentOf(path(kFiles - 1)));
}

TEST(PosixProcessTest, noGuardedFileOutlivesAHostThatIsKilledBeforeItStartsAnything)
{
    const TemporaryFolder folder;
    const std::string file = folder.path("copy");
    ProcessRecord record;
    ForkedProcess host(
        [&]
        {
            record = process_prepare({"true"}, /*console*/ false);
            writeGuarded(record, file);
        });
    ASSERT_TRUE(comesTrue([&] { return contentOf(file) == "secret"; }));
    host.end(SIGKILL);
    EXPECT_TRUE(comesTrue([&] { return !std::filesystem::exists(file); }));
}

TEST(PosixProcessTest, theChildHasACleanStart)
{
    const TemporaryFolder folder;
    const std::string file = folder.path("state");
    struct sigaction before = {};
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGTERM, &ignore, &before);
    sigset_t blocked;
    sigset_t maskBefore;
    sigfillset(&blocked);
    pthread_sigmask(SIG_BLOCK, &blocked, &maskBefore);
    const int leaky = open("/dev/null", O_RDONLY); // NOLINT(android-cloexec-open): as a host may
    ProcessRecord record = startShell(
        "exec > " + file + "; grep SigBlk /proc/self/status; ls /proc/$$/fd; cat; kill -TERM $$");
    pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
    sigaction(SIGTERM, &before, nullptr);
    close(leaky);
    EXPECT_EQ(128 + SIGTERM, process_wait(record, 20));
    EXPECT_EQ("SigBlk:\t0000000000000000\n0\n1\n2\n", contentOf(file));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
