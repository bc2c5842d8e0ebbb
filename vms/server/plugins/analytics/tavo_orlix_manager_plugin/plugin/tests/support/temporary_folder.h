#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A folder of a test's own, gone with it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "orlix_XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        m_path = pattern;
    }

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

    // An executable script of the shell.
    void writeScript(const std::string& name, const std::string& body) const
    {
        write(name, "#!/bin/sh\n" + body);
        std::filesystem::permissions(path(name), std::filesystem::perms::owner_all);
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
    std::string m_path;
};

// The system's temporary folder, for as long as a test needs its own.
class ScopedTempPath
{
public:
    explicit ScopedTempPath(const std::string& path) { setenv("TMPDIR", path.c_str(), 1); }
    ~ScopedTempPath() { setenv("TMPDIR", m_old.c_str(), 1); }

private:
    const std::string m_old = std::filesystem::temp_directory_path();
};

} // namespace tavo::vms_server_plugins::analytics::orlix
