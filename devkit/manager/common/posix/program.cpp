#include "common/program.h"

#include <csignal>
#include <system_error>

namespace tavo::devkit
{

std::filesystem::path program_path()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

void ignore_broken_pipes()
{
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace tavo::devkit
