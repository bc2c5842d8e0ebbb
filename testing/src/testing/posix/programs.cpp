#include "testing/programs.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavo::test_support
{
namespace
{

// The file that a process runs. Of a program for another processor that is in the command line of
// qemu, whose own file may be gone since it was registered.
std::string fileOf(const std::filesystem::path& process)
{
    std::error_code ignored; // of other users, or gone by now
    std::string file = std::filesystem::read_symlink(process / "exe", ignored).string();
    if (file.find("/qemu-aarch64") != std::string::npos)
    {
        std::ifstream line(process / "cmdline");
        for (int i = 0; i < 2; ++i)
            std::getline(line, file, '\0');
    }
    return file;
}

} // namespace

std::vector<std::uint32_t> runningPrograms(const std::string& file)
{
    std::vector<std::uint32_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc"))
    {
        const std::string target = fileOf(entry.path());
        if (target == file || target == file + " (deleted)")
            found.push_back(
                std::uint32_t(std::strtoul(entry.path().filename().c_str(), nullptr, 10)));
    }
    return found;
}

struct LoneProgram::Process
{
    pid_t pid;
};

LoneProgram::LoneProgram(const std::vector<std::string>& arguments)
{
    std::vector<char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, pointers[0], nullptr, nullptr, pointers.data(), environ) != 0)
        throw std::runtime_error(arguments[0] + " cannot be started");
    m_process = std::make_unique<Process>(Process{pid});
}

LoneProgram::~LoneProgram()
{
    end();
}

void LoneProgram::end()
{
    if (!m_process)
        return;
    kill(m_process->pid, SIGKILL);
    waitpid(m_process->pid, nullptr, 0);
    m_process.reset();
}

} // namespace tavo::test_support
