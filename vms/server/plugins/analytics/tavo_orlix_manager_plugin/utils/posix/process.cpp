#include "utils/process.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "utils/posix/keeper/protocol.h"
#include "utils/posix/keeper_file.h"
#include "utils/posix/kept_program.h"
#include "utils/process_calls.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

static_assert(kProcessKilled == kKeeperKilledCode);

namespace
{

class KeeperJob : public ProcessJob
{
public:
    explicit KeeperJob(KeptProgram program) :
        m_program(std::move(program))
    {}

    std::uint32_t run(int& systemError) override
    {
        const StartFailure failure = m_program.run();
        systemError = failure.systemError;
        return failure.stage == StartFailure::none ? static_cast<std::uint32_t>(m_program.pid())
                                                   : 0;
    }

    Wait waitForEnd(int timeoutMs) override
    {
        return m_program.waitForEnd(timeoutMs) ? Wait::ended : Wait::timedOut;
    }

    std::optional<int> exitCode() const override
    {
        errno = ECHILD;
        return m_program.exitCode();
    }

    bool kill() override { return m_program.kill(); }

    bool deleteAtEnd(const std::string& path, std::FILE* file) override
    {
        return m_program.deleteAtEnd(path, fileno(file));
    }

private:
    KeptProgram m_program;
};

// For the last words: neither the keeper nor the reader waits.
bool createErrorPipe(UniqueDescriptor& readEnd, UniqueDescriptor& writeEnd)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    readEnd.reset(ends[0]);
    writeEnd = aboveStandard(UniqueDescriptor(ends[1]));
    return static_cast<bool>(writeEnd);
}

} // namespace

std::unique_ptr<ProcessJob, ProcessJobCloser> process_make_job(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe,
    StartFailure& failure)
{
    const ProgramStream output{console ? ProgramStream::inherited : ProgramStream::nowhere};
    ProgramStream errors = output;
    UniqueDescriptor readEnd;
    UniqueDescriptor writeEnd;
    if (errorPipe && createErrorPipe(readEnd, writeEnd))
        errors = {ProgramStream::lastWords, writeEnd.get()};
    KeptProgram program = KeptProgram::prepare(arguments, output, errors, failure);
    if (failure.stage != StartFailure::none)
        return nullptr;
    if (readEnd)
        *errorPipe = PipeEnd(readEnd.release());
    return std::unique_ptr<ProcessJob, ProcessJobCloser>(new KeeperJob(std::move(program)));
}

const int kNoSuchProcess = ESRCH;
const bool kFilesEndWithJobs = true;

void process_set_signal_handler(ProcessSignalHandler handler)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    for (const int number : {SIGINT, SIGTERM, SIGABRT})
        sigaction(number, &action, nullptr);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
