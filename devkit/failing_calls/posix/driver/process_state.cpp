#include "process_state.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

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

bool isOurChild(const fs::path& process)
{
    std::ifstream file(process / "stat");
    std::string stat;
    std::getline(file, stat);
    // Behind the name, which may hold anything: a letter and the parent.
    const std::size_t nameEnd = stat.rfind(')');
    if (nameEnd == std::string::npos || nameEnd + 4 >= stat.size())
        return false;
    pid_t parent = 0;
    std::from_chars(stat.data() + nameEnd + 4, stat.data() + stat.size(), parent);
    return parent == getpid();
}

// Those that nobody has collected are among them.
std::size_t countChildren()
{
    siginfo_t ignored = {};
    if (waitid(P_ALL, 0, &ignored, WEXITED | WNOHANG | WNOWAIT) != 0)
        return 0;
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator("/proc"))
    {
        if (std::isdigit(static_cast<unsigned char>(entry.path().filename().string().front())))
            count += isOurChild(entry.path()) ? 1 : 0;
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
