#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace tavo::devkit
{

// The names of the segments that this application has made, in a file, so that its next run can
// remove what a killed one left behind. Nobody else's segments are touched. One thread.
class SegmentRecord
{
public:
    // Removes the segments that are recorded in the file.
    explicit SegmentRecord(std::filesystem::path file);

    void add(const std::string& name);
    void erase(const std::string& name);

private:
    // A file that cannot be written costs the clean-up after a kill, and nothing else.
    void write() const;

    const std::filesystem::path m_file;
    std::set<std::string> m_names;
};

} // namespace tavo::devkit
