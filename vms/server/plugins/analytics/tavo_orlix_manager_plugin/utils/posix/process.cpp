#include "utils/process.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "utils/log.h"
#include "utils/posix/keeper/protocol.h"
#include "utils/posix/keeper_file.h"
#include "utils/posix/kept_program.h"
#include "utils/process_calls.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

static_assert(kProcessKilled == kKeeperKilledCode);

class ProcessJob
{
public:
    explicit ProcessJob(KeptProgram program) :
        m_program(std::move(program))
    {}

    [[nodiscard]] KeptProgram& program() { return m_program; }

    // The end of the program is told once; then its process id means nothing any more.
    bool endWasTold = false;

private:
    KeptProgram m_program;
};

namespace
{

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

void logStartFailure(const StartFailure& failure)
{
    const SystemErrorText error(failure.systemError);
    switch (failure.stage)
    {
        case StartFailure::none:
            break;
        case StartFailure::noKeeper:
            log_info(
                "Error: Could not create job object for process: %.*s\n", error.length(),
                error.c_str());
            break;
        case StartFailure::noJob:
            log_info(
                "Error: Could not set information for job object: %.*s\n", error.length(),
                error.c_str());
            break;
        case StartFailure::noProgram:
            log_info("Error: Could not start process: %.*s\n", error.length(), error.c_str());
            break;
    }
}

// A process whose end was told cannot be looked at any more.
bool isKnown(const ProcessRecord& record)
{
    return process_started(record) && record.job && !record.job->endWasTold;
}

// What the system would say of an id that nobody has.
SystemErrorText noSuchProcess()
{
    return SystemErrorText(ESRCH);
}

// Gives the exit code of a process that has ended.
int tellEnd(ProcessJob& job)
{
    job.endWasTold = true;
    const std::optional<int> exitCode = job.program().exitCode();
    if (!exitCode)
    {
        const SystemErrorText error(ECHILD);
        log_info(
            "Error: Could not get exit code of process: %.*s\n", error.length(), error.c_str());
    }
    return exitCode.value_or(1);
}

} // namespace

void ProcessJobCloser::operator()(ProcessJob* job) const
{
    delete job;
}

ProcessRecord process_prepare_checked(
    const char* const* arguments, bool console, PipeEnd* errorPipe)
{
    ProcessRecord record;
    const ProgramStream output{console ? ProgramStream::inherited : ProgramStream::nowhere};
    ProgramStream errors = output;
    UniqueDescriptor readEnd;
    UniqueDescriptor writeEnd;
    if (errorPipe && createErrorPipe(readEnd, writeEnd))
        errors = {ProgramStream::lastWords, writeEnd.get()};
    StartFailure failure;
    KeptProgram program = KeptProgram::prepare(arguments, output, errors, failure);
    if (failure.stage != StartFailure::none)
    {
        logStartFailure(failure);
        return record;
    }
    record.job.reset(new ProcessJob(std::move(program)));
    if (errorPipe && readEnd)
        *errorPipe = PipeEnd(readEnd.release());
    return record;
}

bool process_run(ProcessRecord& record)
{
    const StartFailure failure =
        record.job ? record.job->program().run() : StartFailure{StartFailure::noJob, ESRCH};
    if (failure.stage != StartFailure::none)
    {
        logStartFailure(failure);
        record = {};
        return false;
    }
    record.pid = static_cast<std::uint32_t>(record.job->program().pid());
    return true;
}

bool process_is_running(const ProcessRecord& record, int& exitCode)
{
    if (!isKnown(record))
        return false;
    if (!record.job->program().waitForEnd(0))
    {
        exitCode = kProcessStillActive;
        return true;
    }
    exitCode = tellEnd(*record.job);
    return false;
}

int process_wait(ProcessRecord& record, int seconds)
{
    if (!isKnown(record))
    {
        const SystemErrorText error = noSuchProcess();
        log_info("Warning: Could not get process handle: %.*s\n", error.length(), error.c_str());
        return kProcessWaitFailed;
    }
    if (!record.job->program().waitForEnd(seconds * 1000))
        return kProcessWaitTimeout;
    const int exitCode = tellEnd(*record.job);
    record.job.reset();
    return exitCode;
}

int process_kill(const ProcessRecord& record)
{
    if (!isKnown(record) || record.job->program().waitForEnd(0))
    {
        const SystemErrorText error = noSuchProcess();
        log_info(
            "Warning: Could not get process handle to terminate: %.*s\n", error.length(),
            error.c_str());
        return -1;
    }
    log_info("Sending termination signal...\n");
    return record.job->program().kill() ? kProcessKilled : -1;
}

const bool kFilesEndWithJobs = true;

void process_delete_at_end(const ProcessRecord& record, const std::string& path, std::FILE* file)
{
    if (!record.job || !record.job->program().deleteAtEnd(path, fileno(file)))
        log_info("Warning: File cannot be tied to process: %s\n", path.c_str());
}

void process_set_signal_handler(ProcessSignalHandler handler)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    for (const int number : {SIGINT, SIGTERM, SIGABRT})
        sigaction(number, &action, nullptr);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
