#pragma once

#include <map>
#include <string>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Takes out of texts what is nobody else's business: tokens, keys, passwords, the names that people
// gave to things and their own addresses.
class Redaction
{
public:
    // Of JSON, an ini file, or lines of a log. Each thing taken out leaves "<kind>" in its place.
    // In time that grows with the text's length, whatever is in it.
    [[nodiscard]] std::string apply(std::string_view text);

    // How often, by kind.
    [[nodiscard]] const std::map<std::string, int>& counts() const { return m_counts; }

private:
    std::map<std::string, int> m_counts;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
