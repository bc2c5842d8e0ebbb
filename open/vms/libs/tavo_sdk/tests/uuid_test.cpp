#include <tavo/sdk/helpers/uuid.h>

#include <set>

#include <gtest/gtest.h>

namespace tavo::sdk
{

namespace
{

TEST(Uuid, readsPairsOfDigitsAndSkipsWhatStandsBetween)
{
    const std::string kDigits = "000102030405060708090a0b0c0d0e0f";
    const struct
    {
        const char* name;
        std::string text;
        bool isRead;
    } kCases[] = {
        {"digits alone", kDigits, true},
        {"hyphens", "00010203-0405-0607-0809-0a0b0c0d0e0f", true},
        {"braces and upper case", "{00010203-0405-0607-0809-0A0B0C0D0E0F}", true},
        {"all that is skipped", "\t\n r-{}r" + kDigits + "rr{} ", true},
        {"carriage return", kDigits + "\r", false},
        {"too short to look at", kDigits.substr(1), false},
        {"too few", kDigits.substr(2) + "    ", false},
        {"a pair torn apart", "0-0" + kDigits.substr(2), false},
        {"half a seventeenth", kDigits + "0", false},
        {"no digit", "g" + kDigits.substr(1), false},
        {"null inside", kDigits + std::string(1, '\0'), false}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const Uuid uuid = uuidFromText(std::string_view(c.text));
        EXPECT_EQ(toText(uuid), c.isRead ? "00010203-0405-0607-0809-0a0b0c0d0e0f" : toText(Uuid()));
    }
    EXPECT_TRUE(uuidFromText(nullptr).isNull());
}

TEST(Uuid, randomOnesAreMarkedAndDiffer)
{
    std::set<std::string> texts;
    for (int i = 0; i < 100; ++i)
        texts.insert(toText(randomUuid()));
    EXPECT_EQ(texts.size(), 100u);
    for (const std::string& text : texts)
    {
        EXPECT_EQ(text[14], '4') << text;
        EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos) << text;
    }
}

} // namespace

} // namespace tavo::sdk
