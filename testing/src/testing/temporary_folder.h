#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <testing/platform.h>
#include <testing/test_program.h>

namespace tavo::test_support
{

inline std::filesystem::path pathOf(const std::string& utf8)
{
    return std::u8string(utf8.begin(), utf8.end());
}

// Empty if there is no such file.
inline std::string contentOf(const std::string& path)
{
    std::ifstream file(pathOf(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A folder of a test's own, gone with it. Names and paths are UTF-8.
class TemporaryFolder
{
public:
    TemporaryFolder() { std::filesystem::create_directories(pathOf(m_path)); }

    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(pathOf(m_path), ignored);
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string path(const std::string& name) const { return m_path + "/" + name; }

    // Makes the folders that lead to it.
    void write(const std::string& name, const std::string& content) const
    {
        std::filesystem::create_directories(pathOf(path(name)).parent_path());
        std::ofstream(pathOf(path(name)), std::ios::binary | std::ios::trunc) << content;
    }

    // A program that runs these steps, one a line, as testing/program has them.
    void writeProgram(const std::string& name, const std::string& steps) const
    {
        const std::string file = path(programFile(name));
        std::filesystem::create_directories(pathOf(file).parent_path());
        installTestProgram(file, steps);
    }

    [[nodiscard]] std::string read(const std::string& name) const { return contentOf(path(name)); }

    [[nodiscard]] bool has(const std::string& name) const
    {
        return std::filesystem::exists(pathOf(path(name)));
    }

private:
    static std::string newPath()
    {
        static std::atomic<int> counter{0};
        const auto path = std::filesystem::temp_directory_path() /
            ("orlix_" + std::to_string(ownProcessId()) + "_" + std::to_string(counter++));
        const std::u8string utf8 = path.u8string();
        return {utf8.begin(), utf8.end()};
    }

    const std::string m_path = newPath();
};

} // namespace tavo::test_support
