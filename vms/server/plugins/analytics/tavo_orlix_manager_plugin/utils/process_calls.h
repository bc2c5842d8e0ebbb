#pragma once

#include <memory>
#include <optional>

#include "utils/process.h"

// What child processes need of the system.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Why a program was not started.
struct StartFailure
{
    enum Stage
    {
        none,
        noJob, // nothing that could hold it
        noLimits, // that cannot be told to end it
        noProgram,
    };

    Stage stage = none;
    int systemError = 0;
};

// What holds a program and all that it starts, which end with it. One thread at a time.
class ProcessJob
{
public:
    virtual ~ProcessJob() = default;

    // Starts the program, once. Gives its process id, or 0 with the reason in `systemError`.
    [[nodiscard]] virtual std::uint32_t run(int& systemError) = 0;

    enum class Wait
    {
        ended,
        timedOut,
        failed, // the system's error tells why
    };
    [[nodiscard]] virtual Wait waitForEnd(int timeoutMs) = 0;

    // Of a program that has ended; nothing, with the system's error set, when it cannot be had.
    [[nodiscard]] virtual std::optional<int> exitCode() const = 0;

    // Ends the program and all that it has started, without waiting. False if it cannot.
    [[nodiscard]] virtual bool kill() = 0;

    // As process_delete_at_end; false if it cannot.
    [[nodiscard]] virtual bool deleteAtEnd(const std::string& path, std::FILE* file) = 0;

    // The end of the program is told once; then its process id means nothing any more.
    bool endWasTold = false;
};

// A job for arguments that were looked at. Null, with the reason in `failure`, if there is none.
// Without an error pipe, which may fail too, `errorPipe` stays blank.
[[nodiscard]] std::unique_ptr<ProcessJob, ProcessJobCloser> process_make_job(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe,
    StartFailure& failure);

// What the system says of an id that nobody has.
extern const int kNoSuchProcess;

} // namespace tavo::vms_server_plugins::analytics::orlix
