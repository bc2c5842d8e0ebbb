#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <testing/test_program.h>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// The command line of a program that does these steps, as testing/program has them.
inline std::vector<std::string> program(std::vector<std::string> steps)
{
    steps.insert(steps.begin(), test_support::testProgram());
    return steps;
}

// Processes that each write their id to a file.
class WrittenIds
{
public:
    ~WrittenIds()
    {
        for (const std::uint32_t process : m_processes)
            test_support::endProcess(process); // gone already, unless the test has failed
    }

    [[nodiscard]] std::string file(int index) const { return m_folder.path(std::to_string(index)); }

    // False if not all of them come.
    [[nodiscard]] bool waitFor(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            if (!comesTrue([&] { return contentOf(file(i)).ends_with("\n"); }))
                return false;
            m_processes.push_back(static_cast<std::uint32_t>(std::stoul(contentOf(file(i)))));
        }
        return true;
    }

    [[nodiscard]] bool areRunning() const
    {
        return std::ranges::all_of(m_processes, test_support::isRunning);
    }
    [[nodiscard]] bool allEnd() const
    {
        return comesTrue([this]
                         { return std::ranges::none_of(m_processes, test_support::isRunning); });
    }

    // False once the test is over.
    [[nodiscard]] bool areNeeded() const
    {
        return std::filesystem::exists(pathFromUtf8(m_folder.path()));
    }

private:
    TemporaryFolder m_folder;
    std::vector<std::uint32_t> m_processes;
};

// What is hardest to find again: a child; one with a session of its own; one whose parent has
// ended; one that ignores what can be ignored; and the one that starts them.
inline constexpr int kTreeSize = 5;

inline std::vector<std::string> treeProgram(const WrittenIds& tree)
{
    const auto sleeper = [&](int index) { return "write-id," + tree.file(index) + ",sleep,1000"; };
    return program(
        {"start", sleeper(0), "start-apart", sleeper(1), "start-orphan", sleeper(2), "start",
         "ignore-requests-to-end,-," + sleeper(3), "write-id", tree.file(4), "sleep", "1000"});
}

} // namespace tavo::vms_server_plugins::analytics::orlix::test
