#include "utils/command.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>

#include "utils/deadline.h"
#include "utils/log.h"
#include "utils/posix/keeper_file.h"
#include "utils/posix/kept_program.h"
#include "utils/posix/uninterrupted.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr std::size_t kMaxOutput = 16 * 1024 * 1024;
constexpr int kLookForStopMs = 100;

// What a program writes. The read end never waits.
class Output
{
public:
    explicit Output(UniqueDescriptor pipe) :
        m_pipe(std::move(pipe))
    {}

    // -1 once nobody writes any more.
    [[nodiscard]] int descriptor() const { return m_pipe.get(); }

    // One piece of it. False when there is none for now.
    bool take()
    {
        char block[4096];
        const ssize_t count =
            m_pipe ? uninterrupted([&] { return read(m_pipe.get(), block, sizeof block); }) : 0;
        if (count > 0)
            m_text.append(
                block, std::min(static_cast<std::size_t>(count), kMaxOutput - m_text.size()));
        else if (count == 0 || errno != EAGAIN)
            m_pipe.reset();
        return count > 0;
    }

    [[nodiscard]] std::string text() { return std::move(m_text); }

private:
    UniqueDescriptor m_pipe;
    std::string m_text;
};

// False if the program has not ended by then, or is to be ended.
bool takeUntilEnd(
    Output& output, KeptProgram& program, const Deadline& deadline, const std::stop_token& stop)
{
    while (!deadline.hasPassed() && !stop.stop_requested())
    {
        pollfd polled[] = {{output.descriptor(), POLLIN, 0}, {program.endDescriptor(), POLLIN, 0}};
        if (poll(polled, 2, std::min(deadline.remainingMs(), kLookForStopMs)) <= 0)
            continue;
        if (polled[1].revents != 0 && program.waitForEnd(0))
        {
            // What it has written is in the pipe; what others go on to write is not waited for.
            for (std::size_t i = 0; i < kMaxOutput / 4096 && output.take(); ++i)
                continue;
            return true;
        }
        if (polled[0].revents != 0)
            output.take();
    }
    return false;
}

} // namespace

// Through a keeper, as the manager application: a command ends with the host, and its exit code is
// known also where the host ignores SIGCHLD or collects all children itself.
CommandResult runCommand(
    const std::string& commandLine, std::chrono::seconds limit, const std::stop_token& stop)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
    {
        log_info("Error creating pipe: %d\n", errno);
        return {};
    }
    Output output{UniqueDescriptor(ends[0])};
    fcntl(output.descriptor(), F_SETFL, O_NONBLOCK);
    UniqueDescriptor writeEnd = aboveStandard(UniqueDescriptor(ends[1]));
    if (!writeEnd)
    {
        log_info("Error creating pipe: %d\n", errno);
        return {};
    }
    const std::vector<std::string> words = splitCommandLine(commandLine);
    StartFailure failure{StartFailure::noProgram, ENOENT};
    if (words.empty())
    {
        log_info("Error creating process: %d\n", failure.systemError);
        return {};
    }
    const ProgramStream both{ProgramStream::descriptor, writeEnd.get()};
    const Deadline deadline(limit);
    KeptProgram program = KeptProgram::prepare(words, both, both, failure);
    writeEnd.reset();
    if (failure.stage == StartFailure::none)
        failure = program.run();
    if (failure.stage != StartFailure::none)
    {
        log_info("Error creating process: %d\n", failure.systemError);
        return {};
    }
    CommandResult result;
    if (takeUntilEnd(output, program, deadline, stop))
    {
        result.exitCode = program.exitCode().value_or(result.exitCode);
    }
    else if (stop.stop_requested())
    {
        log_info("Command is ended for the shutdown: %s\n", commandLine.c_str());
    }
    else
    {
        log_info(
            "Error: Command did not end in %d seconds and is killed: %s\n",
            static_cast<int>(limit.count()), commandLine.c_str());
    }
    result.output = output.text();
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
