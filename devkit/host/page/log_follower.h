#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

namespace tavo::devkit
{

// Follows one of the logs as it grows, in the files that it is made of. A file that is cut is begun
// again. One thread.
class LogFollower
{
public:
    // `name` is for those who read it; the files need not be there yet.
    LogFollower(std::string name, std::vector<std::filesystem::path> files);

    [[nodiscard]] const std::string& name() const { return m_name; }

    // The whole lines that have been added since the last call. Of much at once the end only.
    [[nodiscard]] std::vector<std::string> takeNew();

    // The last lines that takeNew gave, for those who come late.
    [[nodiscard]] std::vector<std::string> recent() const;

private:
    struct File
    {
        std::filesystem::path path;
        uint64_t position = 0;
        std::string begun; // a line whose end is not there yet
    };

    static void readNew(File* file, std::vector<std::string>* lines);

private:
    const std::string m_name;
    std::vector<File> m_files;
    std::deque<std::string> m_recent;
};

} // namespace tavo::devkit
