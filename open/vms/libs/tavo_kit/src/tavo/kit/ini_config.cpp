#include <tavo/kit/ini_config.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

// Texts are taken as the bytes they are, and the parser is compiled here: as a shared library it
// would bring one more for the host to load.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

#include <tavo/kit/debug.h>
#include <tavo/kit/ini_folder.h>

namespace tavo::kit
{

namespace
{

// Far above any file of options: what is larger is something else.
constexpr size_t kMaxFileSize = 1024 * 1024;

constexpr size_t kMaxShown = 200; // bytes of the file in a report

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::optional<bool> parseBool(std::string_view text)
{
    std::string lower(text);
    std::transform(
        lower.begin(), lower.end(), lower.begin(),
        [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; });
    if (lower == "true" || lower == "1")
        return true;
    if (lower == "false" || lower == "0")
        return false;
    return std::nullopt;
}

std::optional<int> parseInt(std::string_view text)
{
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto [parsedEnd, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || parsedEnd != end)
        return std::nullopt;
    return value;
}

std::string textOf(bool value)
{
    return value ? "true" : "false";
}

std::string textOf(int value)
{
    return std::to_string(value);
}

std::string textOf(const char* value)
{
    return value;
}

// Calls `handle` with the number and the text of each line that the parser would pass over without
// a word.
template <class Handler>
void forEachUnreadableLine(std::string_view content, Handler handle)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (content.starts_with(kByteOrderMark))
        content.remove_prefix(kByteOrderMark.size());

    for (int number = 1; !content.empty(); ++number)
    {
        const size_t lineEnd = std::min(content.find('\n'), content.size());
        const std::string_view line = trimmed(content.substr(0, lineEnd));
        content.remove_prefix(std::min(lineEnd + 1, content.size()));

        const bool isOption = line.find('=') != std::string_view::npos && line.front() != '=';
        if (!line.empty() && !isOption && std::string_view(";#[").find(line.front()) == line.npos)
            handle(number, line);
    }
}

} // namespace

IniConfig::IniConfig(std::string iniFileName) :
    m_iniFileName(std::move(iniFileName))
{}

std::filesystem::path IniConfig::iniFilePath() const
{
    const std::filesystem::path folder = iniFolder();
    return folder.empty() ? folder : folder / m_iniFileName;
}

void IniConfig::reload()
{
    setToDefaults();
    m_complaints.clear();

    const std::filesystem::path path = iniFilePath();
    std::error_code status;
    if (path.empty() || !std::filesystem::exists(path, status))
        return;
    if (!std::filesystem::is_regular_file(path, status))
        return report("is not a file; all options have their defaults");

    std::ifstream file(path, std::ios::binary);
    std::string content;
    std::array<char, 4096> block;
    while (file && content.size() <= kMaxFileSize)
    {
        file.read(block.data(), block.size());
        content.append(block.data(), static_cast<size_t>(file.gcount()));
    }
    if (!file.is_open() || file.bad())
        return report("cannot be read; all options have their defaults");
    if (content.size() > kMaxFileSize || content.find('\0') != std::string::npos)
        return report("is not a text file of options; all options have their defaults");

    apply(content);
}

// The descriptions are for the reader of the code that registers.
void IniConfig::regBoolParam(
    bool* field, bool defaultValue, std::string name, std::string /*description*/)
{
    reg(field, defaultValue, std::move(name));
}

void IniConfig::regIntParam(
    int* field, int defaultValue, std::string name, std::string /*description*/)
{
    reg(field, defaultValue, std::move(name));
}

void IniConfig::regStringParam(
    const char** field, const char* defaultValue, std::string name, std::string /*description*/)
{
    reg(field, keepText(defaultValue), std::move(name));
}

template <class Value>
void IniConfig::reg(Value* field, Value defaultValue, std::string name)
{
    *field = defaultValue;
    m_params.push_back({std::move(name), Target<Value>{field, defaultValue}});
}

const char* IniConfig::keepText(std::string_view text)
{
    for (const std::string& kept : m_texts)
    {
        if (kept == text)
            return kept.c_str();
    }
    return m_texts.emplace_back(text).c_str();
}

std::vector<IniConfig::Option> IniConfig::options() const
{
    std::vector<Option> options;
    for (const Param& param : m_params)
    {
        options.push_back(
            {param.name,
             std::visit([](const auto& target) { return textOf(*target.field); }, param.target),
             param.isFromFile});
    }
    return options;
}

void IniConfig::setToDefaults()
{
    for (Param& param : m_params)
    {
        std::visit([](const auto& target) { *target.field = target.defaultValue; }, param.target);
        param.isFromFile = false;
    }
}

void IniConfig::apply(const std::string& content)
{
    CSimpleIniCaseA ini(/*isUtf8*/ true);
    if (ini.LoadData(content) < 0)
        return report("is not a file of options; all options have their defaults");

    forEachUnreadableLine(
        content,
        [this](int number, std::string_view line)
        {
            report(
                "line " + std::to_string(number) +
                " is no option: " + std::string(line.substr(0, kMaxShown)));
        });

    CSimpleIniCaseA::TNamesDepend sections;
    ini.GetAllSections(sections);
    sections.sort(CSimpleIniCaseA::Entry::LoadOrder());
    for (const auto& section : sections)
    {
        CSimpleIniCaseA::TNamesDepend names;
        ini.GetAllKeys(section.pItem, names);
        names.sort(CSimpleIniCaseA::Entry::LoadOrder());
        for (const auto& name : names)
            applyValue(name.pItem, ini.GetValue(section.pItem, name.pItem, ""));
    }
}

void IniConfig::applyValue(std::string_view name, std::string_view value)
{
    const auto param = std::find_if(
        m_params.begin(), m_params.end(),
        [name](const Param& candidate) { return candidate.name == name; });
    if (param == m_params.end())
    {
        const std::string shown(name.substr(0, kMaxShown));
        return report("unknown option " + shown + "; ignored", shown);
    }

    // A later line that makes no sense leaves an earlier one in force.
    const auto reportBadValue = [&](const char* expected, const std::string& used)
    {
        report(
            "option " + param->name + " needs " + expected + ", not \"" +
                std::string(value.substr(0, kMaxShown)) + "\"; " + used + " is used instead",
            name);
    };
    const auto take = [&](auto* field, const auto& parsed, const char* expected)
    {
        if (!parsed)
            return reportBadValue(expected, textOf(*field));
        *field = *parsed;
        param->isFromFile = true;
    };

    if (const auto* const flag = std::get_if<Target<bool>>(&param->target))
        take(flag->field, parseBool(value), "true or false");
    else if (const auto* const number = std::get_if<Target<int>>(&param->target))
        take(number->field, parseInt(value), "a whole number");
    else if (const auto* const text = std::get_if<Target<const char*>>(&param->target))
        take(text->field, std::optional(keepText(value)), "");
}

// In UTF-8. A folder whose name is no text, as Windows may have one, is left out.
std::string IniConfig::shownPath() const
{
    try
    {
        const std::u8string path = iniFilePath().u8string();
        return {path.begin(), path.end()};
    }
    catch (const std::system_error&)
    {
        return m_iniFileName;
    }
}

void IniConfig::report(const std::string& text, std::string_view option)
{
    printLine("WARNING: " + shownPath() + ": " + text);
    if (m_complaints.size() < kMaxComplaints)
        m_complaints.push_back({std::string(option), text});
}

} // namespace tavo::kit
