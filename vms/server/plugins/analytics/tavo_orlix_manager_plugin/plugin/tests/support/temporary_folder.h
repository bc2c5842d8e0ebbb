#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <testing/scoped_variable.h>
#include <testing/test_program.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A folder of a test's own, gone with it.
class TemporaryFolder
{
public:
    TemporaryFolder() { std::filesystem::create_directories(m_path); }

    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string path(const std::string& name) const { return m_path + "/" + name; }

    // Makes the folders that lead to it.
    void write(const std::string& name, const std::string& content) const
    {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary | std::ios::trunc) << content;
    }

    // A program that runs these steps, one a line, as testing/program has them.
    void writeProgram(const std::string& name, const std::string& steps) const
    {
        const std::string file = path(test_support::programFile(name));
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        test_support::installTestProgram(file, steps);
    }

    [[nodiscard]] std::string read(const std::string& name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    [[nodiscard]] bool has(const std::string& name) const
    {
        return std::filesystem::exists(path(name));
    }

private:
    static std::string newName()
    {
        static std::atomic<int> counter{0};
        return "orlix_" + std::to_string(test_support::ownProcessId()) + "_" +
            std::to_string(counter++);
    }

    const std::string m_path = (std::filesystem::temp_directory_path() / newName()).string();
};

// The system's temporary folder, for as long as a test needs its own.
class ScopedTempPath : public test_support::ScopedVariable
{
public:
    explicit ScopedTempPath(const std::string& path) :
        ScopedVariable(test_support::kTemporaryFolderVariable, path)
    {}
};

} // namespace tavo::vms_server_plugins::analytics::orlix
