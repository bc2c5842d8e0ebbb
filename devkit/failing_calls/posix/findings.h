#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tavo::devkit
{

// What a run showed that must not be. Any thread.
class Findings
{
public:
    void add(std::string text)
    {
        const std::lock_guard lock(m_mutex);
        m_texts.push_back(std::move(text));
    }

    [[nodiscard]] std::vector<std::string> take()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_texts, {});
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_texts;
};

} // namespace tavo::devkit
