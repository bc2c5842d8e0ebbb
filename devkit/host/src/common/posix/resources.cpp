#include "common/resources.h"

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace tavo::devkit
{

namespace
{

int countEntries(const char* folder)
{
    std::error_code error;
    int count = 0;
    for (std::filesystem::directory_iterator entry(folder, error), end; entry != end;
         entry.increment(error))
    {
        ++count;
    }
    return count;
}

} // namespace

ProcessResources readProcessResources()
{
    ProcessResources resources;
    uint64_t totalPages = 0;
    uint64_t residentPages = 0;
    if (std::ifstream("/proc/self/statm") >> totalPages >> residentPages)
        resources.residentBytes = residentPages * uint64_t(sysconf(_SC_PAGESIZE));
    resources.descriptors = countEntries("/proc/self/fd") - 1; // without the one that counts
    resources.threads = countEntries("/proc/self/task");
    return resources;
}

} // namespace tavo::devkit
