#include "remote/text_helpers.h"

#include <algorithm>
#include <charconv>
#include <locale>
#include <sstream>
#include <system_error>

#include "remote/answer_body.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// By ASCII alone: the host's locale must not decide what an identifier is.
bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view withoutBraces(std::string_view text)
{
    if (text.starts_with('{') && text.ends_with('}'))
        return text.substr(1, text.size() - 2);
    return text;
}

} // namespace

std::string compactJson(const yyjson_mut_doc* document)
{
    std::optional<std::string> text = writeJson(document);
    if (text)
        return std::move(*text);
    log_info("Error creating settings model string\n");
    return "{}";
}

std::string jsonToText(MutableJsonDocument document)
{
    return compactJson(document.get());
}

int textToInt(const std::string& text, int defaultValue)
{
    const char* begin = text.data();
    const char* const end = begin + text.size();
    begin = std::find_if_not(begin, end, isBlank);
    if (end - begin > 1 && begin[0] == '+' && begin[1] != '-')
        ++begin;

    int value = 0;
    const std::errc error = std::from_chars(begin, end, value).ec;
    if (error != std::errc{})
    {
        log_info(
            "Warning! Could not convert int to string: %s : %s\n", text.c_str(),
            std::make_error_code(error).message().c_str());
        return defaultValue;
    }
    return value;
}

float textToFloat(std::string text, float defaultValue)
{
    std::replace(text.begin(), text.end(), ',', '.');
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    float value = 0;
    if (!(stream >> value))
    {
        log_info(
            "Warning! Failed to convert string %s. Defaulting to %s\n", text.c_str(),
            std::to_string(defaultValue).c_str());
        return defaultValue;
    }
    return value;
}

bool sameDeviceId(std::string_view a, std::string_view b)
{
    return withoutBraces(a) == withoutBraces(b);
}

std::string oneLine(std::string_view name)
{
    std::string line(excerptOf(name));
    std::replace_if(
        line.begin(), line.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
    return line;
}

std::string makeIdentifier(std::string text)
{
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (!isAlphanumeric(text[i]) && text[i] != '_' && (i == 0 || text[i] != '.'))
            text[i] = '_';
    }
    return text;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
