#pragma once

#include <filesystem>
#include <string>

namespace tavo::test_support
{

// Keeps the number of a file from being given to the next one that has its name, as Wine and some
// file systems do where nobody holds it any more: another name for it, for as long as this lives.
class KeptFileNumber
{
public:
    // Does nothing where the system makes no link to such a file.
    explicit KeptFileNumber(const std::string& path) :
        m_link(path + ".kept")
    {
        std::error_code ignored;
        std::filesystem::create_hard_link(path, m_link, ignored);
    }
    ~KeptFileNumber()
    {
        std::error_code ignored;
        std::filesystem::remove(m_link, ignored);
    }
    KeptFileNumber(const KeptFileNumber&) = delete;
    KeptFileNumber& operator=(const KeptFileNumber&) = delete;

private:
    const std::filesystem::path m_link;
};

} // namespace tavo::test_support
