#include "remote/text_helpers.h"

#include <locale>

#include <gtest/gtest.h>

#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(TextToInt, ReadsDecimalNumbersAndFallsBackWithALogLine)
{
    constexpr int kDefault = 7;
    const struct
    {
        const char* text;
        int value;
    } kCases[] = {
        {"42", 42},
        {"-5", -5},
        {"+5", 5},
        {" \t13", 13},
        {"12.9", 12},
        {"8 px", 8},
        {"2147483647", 2147483647},
        {"", kDefault},
        {"abc", kDefault},
        {"-", kDefault},
        {"+-5", kDefault},
        {"2147483648", kDefault},
        {"99999999999999999999", kDefault},
        {"0x", 0}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.value, textToInt(c.text, kDefault));
    }

    const test::CapturedLog log;
    EXPECT_EQ(12, textToInt("12", 0));
    EXPECT_EQ(0, textToInt("many", 0));
    EXPECT_EQ(0, textToInt("3000000000", 0));
    EXPECT_EQ(
        "Warning! Could not convert int to string: many : Invalid argument\n"
        "Warning! Could not convert int to string: 3000000000 : Numerical result out of range\n",
        log.text());
}

// A host may run with any locale, in C and in C++.
class CommaLocale : public ::testing::Test
{
protected:
    struct Comma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
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
    const struct
    {
        const char* text;
        float value;
    } kCases[] = {{"0.5", 0.5f},  {"0,5", 0.5f},    {"-1,25", -1.25f},   {"1e3", 1000.0f},
                  {"3", 3.0f},    {" 0.25", 0.25f}, {"1000.5", 1000.5f}, {"", 9.0f},
                  {"wide", 9.0f}, {"nan", 9.0f},    {"1e999", 9.0f}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.value, textToFloat(c.text, 9.0f));
    }
    const test::CapturedLog log;
    EXPECT_EQ(0.5f, textToFloat("a,b", 0.5f));
    EXPECT_EQ("Warning! Failed to convert string a.b. Defaulting to 0.500000\n", log.text());
}

TEST(SameDeviceId, IgnoresOnePairOfBracesAndNothingElse)
{
    const struct
    {
        const char* a;
        const char* b;
        bool same;
    } kCases[] = {
        {"abc", "abc", true},
        {"{abc}", "abc", true},
        {"abc", "{abc}", true},
        {"{abc}", "{abc}", true},
        {"{abc", "abc", false},
        {"abc}", "abc", false},
        {"{{abc}}", "{abc}", false},
        {"{{abc}}", "{{abc}}", true},
        {"ABC", "abc", false},
        {"", "", true},
        {"{}", "", true},
        {"{", "", false},
        {"{", "{", true}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(std::string(c.a) + " " + c.b);
        EXPECT_EQ(c.same, sameDeviceId(c.a, c.b));
    }
}

TEST(MakeIdentifier, KeepsLengthAndReplacesWhatNoIdentifierHolds)
{
    const struct
    {
        const char* text;
        const char* identifier;
    } kCases[] = {{"", ""},     {"person", "person"}, {"Person 2", "Person_2"},
                  {"1a", "1a"}, {".a.b", "_a.b"},     {"a-b/c", "a_b_c"},
                  {"_x", "_x"}, {"\xC3\xA4", "__"}};
    for (const auto& c : kCases)
        EXPECT_EQ(c.identifier, makeIdentifier(c.text));
}

TEST(Customization, OnlyTheExactNamesCount)
{
    EXPECT_EQ(0, customizationKindOf("tavovms"));
    EXPECT_EQ(1, customizationKindOf("default"));
    for (const char* other : {"", "TavoVMS", "tavovms ", "Default", "other"})
        EXPECT_EQ(2, customizationKindOf(other)) << other;
}

TEST(JsonToText, IsCompactAndSaysSoWhenADocumentCannotBeTold)
{
    MutableJsonDocument document = newJsonDocument();
    yyjson_mut_val* const root = yyjson_mut_obj(document.get());
    yyjson_mut_doc_set_root(document.get(), root);
    yyjson_mut_obj_add_str(document.get(), root, "path", "a/b");
    yyjson_mut_obj_add_arr(document.get(), root, "list");
    EXPECT_EQ(R"({"path":"a/b","list":[]})", jsonToText(std::move(document)));

    const test::CapturedLog log;
    document = newJsonDocument();
    yyjson_mut_doc_set_root(document.get(), yyjson_mut_str(document.get(), "\xFF is no UTF-8"));
    EXPECT_EQ("{}", jsonToText(std::move(document)));
    EXPECT_EQ("Error creating settings model string\n", log.text());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
