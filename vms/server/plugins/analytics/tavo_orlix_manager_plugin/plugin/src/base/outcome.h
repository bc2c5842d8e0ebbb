#pragma once

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Whether something was done, and if not, why: one sentence for people, for the log and behind the
// text on the board that tells what failed.
class [[nodiscard]] Outcome
{
public:
    Outcome() = default; // done

    static Outcome failed(std::string why)
    {
        Outcome outcome;
        outcome.m_why = std::move(why);
        outcome.m_done = false;
        return outcome;
    }

    // Of the file or folder that could not be made, read or written; by default for the reason in
    // errno, which is that of the call before.
    static Outcome failedAt(
        const std::string& path, std::error_code error = {errno, std::generic_category()});

    explicit operator bool() const { return m_done; }
    [[nodiscard]] const std::string& why() const { return m_why; }

private:
    std::string m_why;
    bool m_done = true;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
