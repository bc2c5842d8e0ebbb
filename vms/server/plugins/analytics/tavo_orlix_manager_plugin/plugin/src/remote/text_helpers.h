#pragma once

#include <string>
#include <string_view>

#include "utils/json.h"

// Texts and numbers. No state; nothing throws.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The compact text of a document, which ends here; "{}" when it cannot be told.
[[nodiscard]] std::string jsonToText(MutableJsonDocument document);

[[nodiscard]] int textToInt(const std::string& text, int defaultValue);

// A decimal comma reads as a point.
[[nodiscard]] float textToFloat(std::string text, float defaultValue);

// Equal but for one pair of braces around either. Used for all comparisons of site and device ids.
[[nodiscard]] bool sameDeviceId(std::string_view a, std::string_view b);

// Of the same length, of letters, digits, "_" and, but for the first place, ".".
[[nodiscard]] std::string makeIdentifier(std::string text);

// 0: the host's customization is "tavovms", 1: it is "default", 2: another.
[[nodiscard]] int hostCustomizationKind();

} // namespace tavo::vms_server_plugins::analytics::orlix
