#include "remote/text_helpers.h"

#include "remote/file_helpers.h"

#include <cmath>
#include <locale>

#include <gtest/gtest.h>

#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(TextToInt, ReadsDecimalNumbersAndFallsBackWithALogLine)
{
    constexpr int kDefault = 7;
    const std::pair<const char*, int> kCases[] = {
        {"-5", -5},     {" \t13", 13},   {"12.9", 12},      {"2147483647", 2147483647},
        {"", kDefault}, {"-", kDefault}, {"+-5", kDefault}, {"2147483648", kDefault},
        {"0x", 0}};
    for (const auto& c : kCases)
        EXPECT_EQ(c.second, textToInt(c.first, kDefault)) << c.first;
}

TEST(IsFileName, RefusesWhatWouldLeadElsewhere)
{
    const std::pair<std::string_view, bool> kCases[] = {
        {"0f-model id", true}, {"..a", true},  {"\xC3\xA4", true},   {"", false},
        {".", false},          {"..", false},  {"../a", false},      {"a/b", false},
        {"a\\b", false},       {"a\n", false}, {{"a\0b", 3}, false}, {"a\x7F", false}};
    for (const auto& c : kCases)
        EXPECT_EQ(c.second, isFileName(c.first)) << c.first;
}

TEST(FileNameOf, IsWhatStandsBehindTheLastSlashOfThePath)
{
    const std::pair<const char*, const char*> kCases[] = {
        {"https://a.test/models/m.onnx", "m.onnx"},
        {"https://a.test/models/m.onnx?token=a/b&x=1", "m.onnx"},
        {"https://a.test/models/m.onnx#part/2", "m.onnx"},
        {"https://a.test/models/?m.onnx", ""},
        {"m.onnx", ""},
        {"", ""}};
    for (const auto& c : kCases)
        EXPECT_EQ(c.second, fileNameOf(c.first)) << c.first;
}

TEST(MakeIdentifier, KeepsAsciiLettersDigitsAndPointsThatAreNotTheFirst)
{
    EXPECT_EQ("azAZ09_.______", makeIdentifier("azAZ09_./:@[`{"));
    EXPECT_EQ("_a.", makeIdentifier(".a."));
}

TEST(CustomizationKindOf, KnowsTwo)
{
    EXPECT_EQ(0, customizationKindOf("tavovms"));
    EXPECT_EQ(1, customizationKindOf("default"));
    EXPECT_EQ(2, customizationKindOf(""));
}

// A host may run with any locale, in C and in C++.
class CommaLocale : public ::testing::Test
{
protected:
    struct Comma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
    };

    CommaLocale() :
        m_previous(std::locale::global(std::locale(std::locale::classic(), new Comma)))
    {}
    ~CommaLocale() override { std::locale::global(m_previous); }

private:
    std::locale m_previous;
};

TEST_F(CommaLocale, TextToFloatReadsPointAndCommaAlike)
{
    const std::pair<const char*, float> kCases[] = {
        {"0.5", 0.5f},  {"0,5", 0.5f},    {"-1,25", -1.25f},   {"1e3", 1000.0f},
        {"3", 3.0f},    {" 0.25", 0.25f}, {"1000.5", 1000.5f}, {"", 9.0f},
        {"wide", 9.0f}, {"nan", 9.0f},    {"1e999", 9.0f}};
    for (const auto& c : kCases)
        EXPECT_EQ(c.second, textToFloat(c.first, 9.0f)) << c.first;
}

TEST(CompactJson, OfWhatHasNoTextIsEmpty)
{
    const test::CapturedLog log;
    const auto [document, root] = newJsonObject();
    yyjson_mut_obj_add_real(document.get(), root, "a", std::nan(""));
    EXPECT_EQ("{}", compactJson(document.get()));
    EXPECT_EQ("Error creating settings model string\n", log.text());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
