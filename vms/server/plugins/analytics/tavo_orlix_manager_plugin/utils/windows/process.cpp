#include "utils/process.h"

#include <csignal>

#include "utils/process_calls.h"
#include "utils/windows/kept_program.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Not escaped: an argument has no double quote, and the last one does not end in a backslash.
std::string commandLineOf(const std::vector<std::string>& arguments)
{
    std::string line;
    for (const std::string& argument : arguments)
        line += "\"" + argument + "\" ";
    line.pop_back();
    return line;
}

// Where the streams of a program go is told to it, but its ends of them are not inherited: it
// reaches a pipe only if it opens one itself.
STARTUPINFOW startupOf(bool console, HANDLE errors)
{
    STARTUPINFOW startup = {};
    if (console && !errors)
        return startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = console ? GetStdHandle(STD_OUTPUT_HANDLE) : INVALID_HANDLE_VALUE;
    startup.hStdError = errors;
    return startup;
}

class SystemJob : public ProcessJob
{
public:
    SystemJob(KeptProgram job, std::string commandLine, bool console, PipeEnd errors) :
        m_program(std::move(job)),
        m_commandLine(std::move(commandLine)),
        m_console(console),
        m_errors(std::move(errors))
    {}

    std::uint32_t run(int& systemError) override
    {
        const PipeEnd errors = std::move(m_errors);
        const bool hasPipe = errors.handle != kInvalidPipe;
        const StartFailure failure = m_program.run(
            m_commandLine,
            startupOf(m_console, hasPipe ? reinterpret_cast<HANDLE>(errors.handle) : nullptr),
            /*streams*/ {});
        systemError = failure.systemError;
        return failure.stage == StartFailure::none ? m_program.pid() : 0;
    }

    Wait waitForEnd(int timeoutMs) override
    {
        switch (m_program.waitForEnd(static_cast<DWORD>(timeoutMs)))
        {
            case WAIT_OBJECT_0:
                return Wait::ended;
            case WAIT_TIMEOUT:
                return Wait::timedOut;
            default:
                return Wait::failed;
        }
    }

    std::optional<int> exitCode() const override { return m_program.exitCode(); }

    bool kill() override { return m_program.kill(); }

    // A handle that deletes on close would do it, but keeps others from opening the file as most
    // programs do, so that nobody could read it.
    bool deleteAtEnd(const std::string&, std::FILE*) override { return false; }

private:
    KeptProgram m_program;
    const std::string m_commandLine;
    const bool m_console;
    PipeEnd m_errors; // blank without a pipe; kept until the program has been told of it
};

} // namespace

std::unique_ptr<ProcessJob, ProcessJobCloser> process_make_job(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe,
    StartFailure& failure)
{
    KeptProgram job = KeptProgram::prepare(failure);
    if (failure.stage != StartFailure::none)
        return nullptr;
    PipeEnd readEnd;
    PipeEnd writeEnd;
    if (errorPipe && pipe_create(readEnd.handle, writeEnd.handle))
        *errorPipe = std::move(readEnd);
    return std::unique_ptr<ProcessJob, ProcessJobCloser>(
        new SystemJob(std::move(job), commandLineOf(arguments), console, std::move(writeEnd)));
}

const int kNoSuchProcess = ERROR_INVALID_PARAMETER;
const bool kFilesEndWithJobs = false;

void process_set_signal_handler(ProcessSignalHandler handler)
{
    for (const int number : {SIGINT, SIGTERM, SIGABRT})
        std::signal(number, handler);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
