#include "testing/test_program.h"

#include <filesystem>
#include <fstream>

namespace tavo::test_support
{
namespace
{

std::filesystem::path pathOf(const std::string& text)
{
    return std::u8string(text.begin(), text.end());
}

} // namespace

std::string testProgram()
{
    const std::u8string path = std::filesystem::absolute(TAVO_TEST_PROGRAM).u8string();
    return {path.begin(), path.end()};
}

std::string programFile(const std::string& name)
{
    return name.ends_with(".exe") ? name : name + ".exe";
}

void installTestProgram(const std::string& path, const std::string& steps)
{
    std::filesystem::remove(pathOf(path));
    std::ofstream(pathOf(path + ".steps"), std::ios::binary) << steps;
    std::filesystem::copy_file(TAVO_TEST_PROGRAM, pathOf(path));
}

} // namespace tavo::test_support
