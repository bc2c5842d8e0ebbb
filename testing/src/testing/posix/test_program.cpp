#include "testing/test_program.h"

#include <filesystem>
#include <fstream>

namespace tavo::test_support
{

std::string testProgram()
{
    return TAVO_TEST_PROGRAM;
}

std::string programFile(const std::string& name)
{
    return name;
}

// A link, since a file that was just written may still be open in a process that another thread
// starts, and could then not be run.
void installTestProgram(const std::string& path, const std::string& steps)
{
    std::filesystem::remove(path);
    std::ofstream(path + ".steps", std::ios::binary) << steps;
    std::filesystem::create_symlink(TAVO_TEST_PROGRAM, path);
}

} // namespace tavo::test_support
