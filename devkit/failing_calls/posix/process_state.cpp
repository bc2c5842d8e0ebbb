#include "process_state.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace tavo::devkit
{

namespace
{

using namespace std::chrono_literals;

constexpr std::size_t kFewSegments = 4; // that a camera has at a time
namespace fs = std::filesystem;

std::string linksOf(const char* folder)
{
    std::string text;
    for (const auto& entry : fs::directory_iterator(folder))
    {
        std::error_code error;
        text += " " + entry.path().filename().string() + "=" +
            fs::read_symlink(entry.path(), error).string();
    }
    return text;
}

std::size_t entriesOf(const fs::path& folder)
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

// Segments come and go as the application has it, and each has a descriptor.
void countDescriptors(ProcessState& state)
{
    for (const auto& entry : fs::directory_iterator("/proc/self/fd"))
    {
        std::error_code error;
        const bool isSegment =
            fs::read_symlink(entry.path(), error).string().starts_with("/dev/shm/");
        ++(isSegment ? state.segments : state.descriptors);
    }
}

// Those that nobody has collected are among them.
std::size_t countChildren()
{
    std::size_t count = 0;
    for (const auto& thread : fs::directory_iterator("/proc/self/task"))
    {
        std::ifstream children(thread.path() / "children");
        count += static_cast<std::size_t>(std::distance(
            std::istream_iterator<std::string>(children), std::istream_iterator<std::string>()));
    }
    return count;
}

} // namespace

ProcessState ProcessState::now()
{
    ProcessState state;
    countDescriptors(state);
    state.threads = entriesOf("/proc/self/task");
    state.children = countChildren();
    return state;
}

std::string ProcessState::moreThan(const ProcessState& before) const
{
    std::string text;
    const auto compare = [&text](const char* what, std::size_t then, std::size_t now)
    {
        if (now > then)
            text +=
                std::string(what) + " " + std::to_string(then) + " -> " + std::to_string(now) + " ";
    };
    compare("descriptors", before.descriptors, descriptors);
    compare("segments", std::max(before.segments, kFewSegments), segments);
    compare("children", before.children, children);
    compare("threads", before.threads, threads);
    if (descriptors > before.descriptors)
        text += linksOf("/proc/self/fd");
    return text;
}

std::string waitUntilBackAt(const ProcessState& before)
{
    const auto end = std::chrono::steady_clock::now() + 5s;
    for (;;)
    {
        std::string more = ProcessState::now().moreThan(before);
        if (more.empty() || std::chrono::steady_clock::now() > end)
            return more;
        std::this_thread::sleep_for(1ms);
    }
}

} // namespace tavo::devkit
