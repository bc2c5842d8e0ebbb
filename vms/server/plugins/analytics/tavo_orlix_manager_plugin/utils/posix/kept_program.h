#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "utils/posix/unique_descriptor.h"
#include "utils/process_calls.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Where one of a program's standard streams goes.
struct ProgramStream
{
    enum Kind
    {
        nowhere,
        inherited,
        descriptor, // `number`, not owned
        lastWords, // drained by the keeper; the last of it goes to `number` at the program's end
    };

    Kind kind = nowhere;
    int number = -1;
};

// A program under a keeper, which ends the program and all that it has started at the end of this
// object, or of this process. Knows the program's end without the help of SIGCHLD. One thread at a
// time.
class KeptProgram
{
public:
    // The keeper alone, which waits for run(). `errors` may be for last words. Only a result
    // without a failure may be used.
    [[nodiscard]] static KeptProgram prepare(
        const std::vector<std::string>& arguments, ProgramStream output, ProgramStream errors,
        StartFailure& failure);

    // Starts the program, once.
    [[nodiscard]] StartFailure run();

    KeptProgram() = default;
    ~KeptProgram();
    KeptProgram(KeptProgram&& other) noexcept;
    KeptProgram& operator=(KeptProgram&&) = delete;

    [[nodiscard]] pid_t pid() const { return m_program; }

    // Can be read from once the program has ended; for a poll.
    [[nodiscard]] int endDescriptor() const { return m_socket.get(); }

    // Waits for the program's end; forever with a negative time-out. True if it has ended, and then
    // exitCode() tells how, unless the keeper was killed.
    [[nodiscard]] bool waitForEnd(int timeoutMs);
    [[nodiscard]] std::optional<int> exitCode() const { return m_exitCode; }

    // Ends the program and all that it has started, without waiting. False if that cannot be asked
    // for.
    [[nodiscard]] bool kill();

    // Has the keeper delete a file when all of this has ended, if by then it is still the one of
    // its absolute path. `descriptor` is one of it. False if that cannot be asked for.
    [[nodiscard]] bool deleteAtEnd(const std::string& path, int descriptor);

private:
    [[nodiscard]] bool spawnKeeper(
        const std::vector<std::string>& arguments, ProgramStream output, ProgramStream errors,
        StartFailure& failure);
    [[nodiscard]] StartFailure takeAnswer(std::uint32_t wanted);
    void endKeeper();

    pid_t m_keeper = 0; // a child of this process, whose end may be collected by others
    pid_t m_program = 0;
    UniqueDescriptor m_keeperDescriptor; // of its process; blank on a system without such
    UniqueDescriptor m_socket;
    bool m_hasEnded = false;
    std::optional<int> m_exitCode;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
