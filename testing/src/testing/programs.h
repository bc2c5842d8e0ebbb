#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Programs on this machine other than the tests'. Paths are UTF-8.

namespace tavo::test_support
{

// The process ids of those that run from this file, which may have been deleted since.
[[nodiscard]] std::vector<std::uint32_t> runningPrograms(const std::string& file);

// A program that nothing ties to this process but its name: ended, it ends alone. Ended with this
// object at the latest.
class LoneProgram
{
public:
    // The first argument is its file; none holds a double quote. Throws std::runtime_error where it
    // cannot be started.
    explicit LoneProgram(const std::vector<std::string>& arguments);
    ~LoneProgram();
    LoneProgram(const LoneProgram&) = delete;
    LoneProgram& operator=(const LoneProgram&) = delete;

    // Ends it at once, without a chance to tidy up, and waits until it is gone.
    void end();

private:
    struct Process;
    std::unique_ptr<Process> m_process; // null once it is gone
};

} // namespace tavo::test_support
