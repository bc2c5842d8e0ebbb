#include "program_calls.h"

#include <csignal>

#include <sys/auxv.h>
#include <unistd.h>

namespace tavo::test_support
{

// Not that of /proc, which follows links.
std::filesystem::path ownPath(const char*)
{
    return reinterpret_cast<const char*>(getauxval(AT_EXECFN));
}

unsigned long ownProcessId()
{
    return static_cast<unsigned long>(getpid());
}

void startAgain(
    const std::filesystem::path& path, const std::vector<std::string>& arguments, bool apart)
{
    std::vector<char*> pointers{const_cast<char*>(path.c_str())};
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    if (fork() != 0)
        return;
    if (apart)
        setsid();
    execv(path.c_str(), pointers.data());
    _exit(127);
}

void ignoreRequestsToEnd()
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT})
        std::signal(number, SIG_IGN);
}

void makeStreamsBinary() {}

} // namespace tavo::test_support
