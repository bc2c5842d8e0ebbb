#include "page/log_follower.h"

#include <algorithm>
#include <fstream>

namespace tavo::devkit
{

namespace
{

constexpr uint64_t kReadAtMost = 64 << 10;
constexpr size_t kRecentLines = 300;
constexpr size_t kLineAtMost = 2000; // a dialog's model makes long lines

} // namespace

LogFollower::LogFollower(std::string name, std::vector<std::filesystem::path> files) :
    m_name(std::move(name))
{
    for (std::filesystem::path& path : files)
        m_files.push_back({std::move(path), 0, {}});
}

std::vector<std::string> LogFollower::takeNew()
{
    std::vector<std::string> lines;
    for (File& file : m_files)
        readNew(&file, &lines);
    m_recent.insert(m_recent.end(), lines.begin(), lines.end());
    while (m_recent.size() > kRecentLines)
        m_recent.pop_front();
    return lines;
}

std::vector<std::string> LogFollower::recent() const
{
    return {m_recent.begin(), m_recent.end()};
}

void LogFollower::readNew(File* file, std::vector<std::string>* lines)
{
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(file->path, error);
    if (error)
        return;
    if (size < file->position)
        *file = {file->path, 0, {}};
    bool isCut = false; // the first line has no beginning
    if (size - file->position > kReadAtMost)
    {
        file->position = size - kReadAtMost;
        file->begun.clear();
        isCut = true;
    }
    std::ifstream in(file->path, std::ios::binary);
    in.seekg(std::streamoff(file->position));
    std::string text(size - file->position, '\0');
    in.read(text.data(), std::streamsize(text.size()));
    text.resize(size_t(std::max<std::streamsize>(in.gcount(), 0)));
    file->position += text.size();
    text.insert(0, file->begun);

    size_t begin = 0;
    for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin))
    {
        // A log that was written as a text on Windows ends its lines with two characters.
        const size_t length = end - begin - (end > begin && text[end - 1] == '\r' ? 1 : 0);
        if (!isCut)
            lines->push_back(text.substr(begin, std::min(length, kLineAtMost)));
        isCut = false;
        begin = end + 1;
    }
    file->begun = text.substr(begin);
}

} // namespace tavo::devkit
