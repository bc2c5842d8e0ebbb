#include "common/shown_address.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace tavo::devkit
{

namespace
{

constexpr std::array<std::string_view, 5> kSecret{"pass", "pwd", "secret", "token", "key"};
constexpr char kStars[] = "***";

bool isSecret(std::string_view name)
{
    std::string small(name);
    std::transform(
        small.begin(), small.end(), small.begin(), [](unsigned char c) { return std::tolower(c); });
    return std::any_of(
        kSecret.begin(), kSecret.end(),
        [&](std::string_view word) { return small.find(word) != std::string::npos; });
}

} // namespace

std::string shownAddress(std::string_view address)
{
    const size_t scheme = address.find("://");
    if (scheme == std::string_view::npos)
        return std::string(address);
    size_t begin = scheme + 3;
    std::string shown(address.substr(0, begin));
    // A password may hold an '@', or a '/' that should have been written otherwise.
    if (const size_t at = address.rfind('@'); at != std::string_view::npos && at >= begin)
    {
        shown += kStars;
        begin = at;
    }
    while (begin < address.size())
    {
        const size_t end = std::min(address.find_first_of("?&;#", begin + 1), address.size());
        const std::string_view piece = address.substr(begin, end - begin);
        const size_t equals = piece.find('=');
        if (equals != std::string_view::npos && isSecret(piece.substr(0, equals)))
            shown.append(piece.substr(0, equals + 1)).append(kStars);
        else
            shown += piece;
        begin = end;
    }
    return shown;
}

} // namespace tavo::devkit
