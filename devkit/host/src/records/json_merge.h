#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tavo::devkit
{

// Applies a JSON merge patch (RFC 7396): objects merge member by member, null removes a member,
// anything else replaces. A member that stays keeps its place, so that a patch which changes no
// value changes no byte. Gives nothing when either text is no JSON.
[[nodiscard]] std::optional<std::string> mergePatch(
    std::string_view original, std::string_view patch);

} // namespace tavo::devkit
