#include "utils/posix/kept_program.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "utils/deadline.h"
#include "utils/posix/keeper/protocol.h"
#include "utils/posix/keeper_file.h"
#include "utils/posix/uninterrupted.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr int kAnswerMs = 10'000; // for what takes a few milliseconds
constexpr int kEndMs = 2'000; // likewise; a tree that resists is left to its keeper

// How the keeper is to be started: the host's descriptors, signals and session are not its own.
class SpawnPlan
{
public:
    SpawnPlan()
    {
        note(posix_spawn_file_actions_init(&m_actions));
        note(posix_spawnattr_init(&m_attributes));
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        note(posix_spawnattr_setsigdefault(&m_attributes, &all));
        note(posix_spawnattr_setsigmask(&m_attributes, &none));
        note(posix_spawnattr_setflags(
            &m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID));
    }
    ~SpawnPlan()
    {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    void setStream(int target, ProgramStream stream)
    {
        if (stream.kind == ProgramStream::nowhere)
            note(posix_spawn_file_actions_addopen(&m_actions, target, "/dev/null", O_RDWR, 0));
        else if (stream.kind != ProgramStream::inherited)
            give(target, stream.number);
    }
    void give(int target, int descriptor)
    {
        note(posix_spawn_file_actions_adddup2(&m_actions, descriptor, target));
    }

    // Gives errno, or 0. A plan that lacks anything starts nothing: a keeper without its socket
    // would never end.
    [[nodiscard]] int run(pid_t& process, int file, char* const* arguments) const
    {
        if (m_error != 0)
            return m_error;
        const std::string path = "/proc/self/fd/" + std::to_string(file);
        return posix_spawn(&process, path.c_str(), &m_actions, &m_attributes, arguments, environ);
    }

private:
    void note(int error)
    {
        if (m_error == 0)
            m_error = error;
    }

    int m_error = 0; // the first
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

// Repeats an interrupted wait. True when there is something to be received, or the other end is
// gone.
bool isReadable(int descriptor, int timeoutMs)
{
    const Deadline deadline(timeoutMs);
    pollfd polled{descriptor, POLLIN, 0};
    const int ready = uninterrupted(
        [&] { return poll(&polled, 1, timeoutMs < 0 ? -1 : deadline.remainingMs()); });
    return ready > 0;
}

// False, with nothing changed, when the keeper has ended.
bool receive(int socket, KeeperMessage& message)
{
    return recv(socket, &message, sizeof message, MSG_DONTWAIT) == sizeof message;
}

constexpr char kStart = kKeeperStart;
constexpr char kKill = kKeeperKill;
constexpr int kNoDescriptor = -1;

// A request goes whole or not at all. The keeper has no more than a few of them waiting.
bool ask(int socket, std::string_view request, int descriptor = kNoDescriptor)
{
    iovec part{const_cast<char*>(request.data()), request.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (descriptor != kNoDescriptor)
    {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    const Deadline deadline(kAnswerMs);
    for (;;)
    {
        if (sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0)
            return true;
        if (errno != EAGAIN || deadline.hasPassed())
            return false;
        pollfd polled{socket, POLLOUT, 0};
        poll(&polled, 1, deadline.remainingMs());
    }
}

std::vector<char*> keeperArguments(
    const std::string& host, const char* errors, const std::vector<std::string>& arguments)
{
    std::vector<char*> all{
        const_cast<char*>("orlix_keeper"), const_cast<char*>(host.c_str()),
        const_cast<char*>(errors)};
    for (const std::string& argument : arguments)
        all.push_back(const_cast<char*>(argument.c_str()));
    all.push_back(nullptr);
    return all;
}

} // namespace

KeptProgram KeptProgram::prepare(
    const std::vector<std::string>& arguments, ProgramStream output, ProgramStream errors,
    StartFailure& failure)
{
    KeptProgram program;
    if (program.spawnKeeper(arguments, output, errors, failure))
        failure = program.takeAnswer(kKeeperReady);
    return program;
}

StartFailure KeptProgram::run()
{
    if (!ask(m_socket.get(), {&kStart, 1}))
        return {StartFailure::noJob, errno};
    return takeAnswer(kKeeperStarted);
}

bool KeptProgram::spawnKeeper(
    const std::vector<std::string>& arguments, ProgramStream output, ProgramStream errors,
    StartFailure& failure)
{
    failure = {StartFailure::noJob, 0};
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
    {
        failure.systemError = errno;
        return false;
    }
    m_socket.reset(ends[0]);
    const UniqueDescriptor keeperEnd = aboveStandard(UniqueDescriptor(ends[1]));
    if (!keeperEnd)
    {
        failure.systemError = errno;
        return false;
    }
    SpawnPlan plan;
    plan.setStream(STDIN_FILENO, {ProgramStream::nowhere});
    plan.setStream(STDOUT_FILENO, output);
    plan.setStream(STDERR_FILENO, errors);
    plan.give(kKeeperSocket, keeperEnd.get());
    const std::string host = std::to_string(getpid());
    const bool areLastWords = errors.kind == ProgramStream::lastWords;
    const std::vector<char*> keeper = keeperArguments(
        host, areLastWords ? KEEPER_ERRORS_LAST_WORDS : KEEPER_ERRORS_OF_PROGRAM, arguments);
    for (int attempt = 0; attempt < kKeeperAttempts; ++attempt)
    {
        const UniqueDescriptor file = openKeeper(attempt, arguments[0]);
        pid_t process{};
        failure.systemError = file ? plan.run(process, file.get(), keeper.data()) : errno;
        if (failure.systemError == 0)
        {
            m_keeper = process;
            m_keeperDescriptor.reset(static_cast<int>(syscall(SYS_pidfd_open, m_keeper, 0)));
            return true;
        }
    }
    return false;
}

StartFailure KeptProgram::takeAnswer(std::uint32_t wanted)
{
    KeeperMessage message = {};
    if (!isReadable(m_socket.get(), kAnswerMs))
        return {StartFailure::noJob, ETIMEDOUT};
    if (!receive(m_socket.get(), message))
        return {StartFailure::noJob, ECHILD};
    if (message.event == wanted)
    {
        m_program = message.value; // 0 while there is none
        return {};
    }
    return {
        message.event == kKeeperNoJob ? StartFailure::noLimits : StartFailure::noProgram,
        message.value};
}

KeptProgram::~KeptProgram()
{
    if (m_keeper != 0)
        endKeeper();
}

KeptProgram::KeptProgram(KeptProgram&& other) noexcept :
    m_keeper(std::exchange(other.m_keeper, 0)),
    m_program(other.m_program),
    m_keeperDescriptor(std::move(other.m_keeperDescriptor)),
    m_socket(std::move(other.m_socket)),
    m_hasEnded(other.m_hasEnded),
    m_exitCode(other.m_exitCode)
{}

bool KeptProgram::waitForEnd(int timeoutMs)
{
    if (m_hasEnded || !isReadable(m_socket.get(), timeoutMs))
        return m_hasEnded;
    // A keeper that was killed took the program along.
    KeeperMessage message = {};
    if (receive(m_socket.get(), message))
        m_exitCode = message.value;
    m_hasEnded = true;
    return true;
}

bool KeptProgram::kill()
{
    return ask(m_socket.get(), {&kKill, 1});
}

bool KeptProgram::deleteAtEnd(const std::string& path, int descriptor)
{
    const std::string request = static_cast<char>(kKeeperDeleteAtEnd) + path;
    return request.size() <= kKeeperMaxPath && ask(m_socket.get(), request, descriptor);
}

// The keeper ends once its tree is gone. It is this process's child and must be collected, but by
// nothing that could hit another child of the host, and without counting on it: the host may ignore
// SIGCHLD, or collect all children itself.
void KeptProgram::endKeeper()
{
    shutdown(m_socket.get(), SHUT_WR);
    const Deadline deadline(kEndMs);
    KeeperMessage message = {};
    bool isEnded = false;
    while (!isEnded && isReadable(m_socket.get(), deadline.remainingMs()))
        isEnded = !receive(m_socket.get(), message);
    const int wait = isEnded ? 0 : WNOHANG;
    const bool hasDescriptor = static_cast<bool>(m_keeperDescriptor);
    const auto id = static_cast<id_t>(hasDescriptor ? m_keeperDescriptor.get() : m_keeper);
    siginfo_t ignored = {};
    uninterrupted(
        [&] { return waitid(hasDescriptor ? P_PIDFD : P_PID, id, &ignored, WEXITED | wait); });
}

} // namespace tavo::vms_server_plugins::analytics::orlix
