#include <algorithm>
#include <cmath>
#include <numeric>

#include "device_agent/dialog/dialog_items.h"
#include "fuzz_target.h"
#include "models/model_download.h"
#include "remote/text_helpers.h"
#include "utils/command.h"
#include "utils/json.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

// As a reader that is strict about it says.
bool isWellFormed(std::string_view text)
{
    const MutableJsonDocument document = newJsonDocument();
    yyjson_mut_doc_set_root(
        document.get(), yyjson_mut_strn(document.get(), text.data(), text.size()));
    return compactJson(document.get()) != "{}";
}

void checkUtf8(std::string_view text)
{
    const std::string mended = wellFormedUtf8(text);
    FUZZ_CHECK(isWellFormed(mended));
    FUZZ_CHECK((mended == text) == isWellFormed(text));
    FUZZ_CHECK(wellFormedUtf8(mended) == mended);
}

void checkNames(const std::string& text)
{
    const std::string line = oneLine(text);
    FUZZ_CHECK(line.size() <= 1024);
    FUZZ_CHECK(std::none_of(
        line.begin(), line.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }));

    const std::string identifier = makeIdentifier(text);
    FUZZ_CHECK(identifier.size() == text.size());
    FUZZ_CHECK(
        identifier.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"
                                     "ABCDEFGHIJKLMNOPQRSTUVWXYZ_.") == std::string::npos);
    FUZZ_CHECK(identifier.empty() || identifier.front() != '.');
    FUZZ_CHECK(makeIdentifier(identifier) == identifier);

    FUZZ_CHECK(sameDeviceId(text, "{" + text + "}") || text.starts_with('{'));
    FUZZ_CHECK(sameDeviceId(text, text));
}

// Quoted, a line's words make the same line again.
void checkCommand(const std::string& text)
{
    const std::vector<std::string> words = splitCommandLine(text);
    std::string line;
    for (const std::string& word : words)
    {
        FUZZ_CHECK(word.find('"') == std::string::npos);
        line += '"' + word + "\" ";
    }
    FUZZ_CHECK(splitCommandLine(line) == words);
}

void checkNumbers(const std::string& text)
{
    const int number = textToInt(text, 7);
    FUZZ_CHECK(textToInt(std::to_string(number), 0) == number);
    const float real = textToFloat(text, 0.5f);
    FUZZ_CHECK(!std::isnan(real));
    for (const char* const format : {"%a, %d %b %Y %H:%M:%S GMT", "%Y-%m-%dT%H:%M:%S"})
        static_cast<void>(parseLocalTime(text, format));
}

} // namespace

// Texts of others where there is no more to them: names, numbers, times, lines of a command.
void tavo::fuzz::run(std::string_view input)
{
    const std::string text(input);
    checkUtf8(text);
    checkNames(text);
    checkCommand(text);
    checkNumbers(text);
}
