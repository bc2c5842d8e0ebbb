#pragma once

#include <string>
#include <string_view>

#include "utils/json.h"

// Texts and numbers. No state; nothing throws but for want of memory.

namespace tavo::vms_server_plugins::analytics::orlix
{

// A text of the host's, which may be null.
[[nodiscard]] inline std::string textOrEmpty(const char* text)
{
    return text ? text : "";
}

// The compact text of a document; "{}", with a line in the log, when it cannot be told. Throws
// std::bad_alloc when something of the document was left out for want of memory.
[[nodiscard]] std::string compactJson(const yyjson_mut_doc* document);

// The same for a document that ends here.
[[nodiscard]] std::string jsonToText(MutableJsonDocument document);

// Decimal, after blanks and a sign; what follows the digits is not looked at. No digits, or a
// number beyond an int's range, gives the default with a line in the log.
[[nodiscard]] int textToInt(const std::string& text, int defaultValue);

// Likewise, whatever the host's locale is; a decimal comma reads as a point.
[[nodiscard]] float textToFloat(std::string text, float defaultValue);

// Equal but for one pair of braces around either. Used for all comparisons of site and device ids.
[[nodiscard]] bool sameDeviceId(std::string_view a, std::string_view b);

// A name that another machine chose, for one line of a log: control characters as "?", and no more
// than 1,024 bytes.
[[nodiscard]] std::string oneLine(std::string_view name);

// Of the same length, of letters, digits, "_" and, but for the first place, ".".
[[nodiscard]] std::string makeIdentifier(std::string text);

// 0: the customization is "tavovms", 1: it is "default", 2: another.
[[nodiscard]] int customizationKindOf(std::string_view customization);
[[nodiscard]] int hostCustomizationKind();

} // namespace tavo::vms_server_plugins::analytics::orlix
