#include <tavo/kit/ini_config.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <testing/scoped_variable.h>
#include <testing/temporary_folder.h>

namespace tavo::kit
{

namespace
{

struct Options : IniConfig
{
    Options() :
        IniConfig("options.ini")
    {
        regBoolParam(&isOn, true, "isOn", "A switch.");
        regStringParam(&text, "default", "text", "A text.");
        regIntParam(&number, 7, "number", "A number.");
        reload();
    }

    bool isOn = false;
    const char* text = nullptr;
    int number = 0;
};

class IniConfigTest : public ::testing::Test
{
protected:
    void write(const std::string& content) const { m_folder.write("options.ini", content); }

    const test_support::TemporaryFolder m_folder;
    const test_support::ScopedVariable m_variable{"TAVO_INI_DIR", m_folder.path()};
};

TEST_F(IniConfigTest, readsWhatMakesSenseAndReportsWhatDoesNot)
{
    const std::string nul("isOn=false\n\0", 12);
    const struct
    {
        const char* name;
        std::string content;
        bool isOn;
        const char* text;
        int number;
        const char* report; // part of what is told; empty: nothing
    } kCases[] = {
        {"empty", "", true, "default", 7, ""},
        {"all", "isOn=false\ntext=a b=c\nnumber=-3\n", false, "a b=c", -3, ""},
        {"blanks and line ends", " isOn = 0 \r\n\r\n\ttext\t=\tx \r\nnumber=8", false, "x", 8, ""},
        {"comments, section, mark", "\xEF\xBB\xBF# a\n; b\n[part]\nnumber=8\n", true, "default", 8,
         ""},
        {"empty text", "text=\n", true, "", 7, ""},
        {"upper case", "isOn=FALSE\n", false, "default", 7, ""},
        {"one", "isOn=0\nisOn=1\n", true, "default", 7, ""},
        {"true", "isOn=0\nisOn=True\n", true, "default", 7, ""},
        {"last one counts", "number=8\nnumber=9\n", true, "default", 9, ""},
        {"no boolean", "isOn=maybe\nnumber=8\n", true, "default", 8,
         "isOn needs true or false, not \"maybe\"; true is used instead"},
        {"no number", "number=8 apples\n", true, "default", 7,
         "number needs a whole number, not \"8 apples\"; 7 is used instead"},
        {"too large", "number=99999999999\n", true, "default", 7, "needs a whole number"},
        {"unknown", "nmber=8\n", true, "default", 7, "unknown option nmber"},
        {"names have a case", "Number=8\n", true, "default", 7, "unknown option Number"},
        {"no option", "number=8\n\njust words\n", true, "default", 8,
         "line 3 is no option: just words"},
        {"binary", nul, true, "default", 7, "not a text file"},
        {"as large as it may be", std::string(1 << 20, '#'), true, "default", 7, ""},
        {"larger", std::string((1 << 20) + 1, '#'), true, "default", 7, "not a text file"}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        write(c.content);
        testing::internal::CaptureStderr();
        const Options options;
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_EQ(options.isOn, c.isOn);
        EXPECT_STREQ(options.text, c.text);
        EXPECT_EQ(options.number, c.number);
        EXPECT_THAT(told, testing::HasSubstr(c.report));
        EXPECT_EQ(told.empty(), *c.report == '\0') << told;
        ASSERT_EQ(options.complaints().empty(), told.empty());
        if (!told.empty())
        {
            EXPECT_THAT(options.complaints().front().text, testing::HasSubstr(c.report));
        }
    }
}

TEST_F(IniConfigTest, tellsWhereEachValueCameFrom)
{
    write("number=eight\ntext=a b\nisOn=false\nnmber=8\n" + std::string(50, 'x'));
    Options options;
    const auto told = [&options]
    {
        std::string text;
        for (const auto& [name, value, isFromFile] : options.options())
            text += name + (isFromFile ? "=" : ":") + value + " ";
        for (const auto& [option, complaint] : options.complaints())
            text += option + "! ";
        return text;
    };
    EXPECT_EQ(told(), "isOn=false text=a b number:7 ! number! nmber! ");
    const char* const former = options.text;
    write("number=8\n");
    options.reload();
    EXPECT_EQ(told(), "isOn:true text:default number=8 ");
    write("text=other\n");
    options.reload();
    EXPECT_STREQ(options.text, "other");
    EXPECT_STREQ(former, "a b") << "may still be in use";
}

TEST_F(IniConfigTest, complaintsHaveABound)
{
    std::string content;
    for (int i = 0; i < 1000; ++i)
        content += "word" + std::string(1000, 'x') + "\n";
    write(content.substr(0, 500'000));
    testing::internal::CaptureStderr();
    const Options options;
    EXPECT_LT(testing::internal::GetCapturedStderr().size(), 500'000u / 2);
    EXPECT_EQ(options.complaints().size(), IniConfig::kMaxComplaints);
}

TEST_F(IniConfigTest, hasDefaultsWithoutAFileAndReportsAFolderInItsPlace)
{
    for (const char* const report : {"", "is not a file"})
    {
        testing::internal::CaptureStderr();
        const Options options;
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_THAT(told, testing::HasSubstr(report));
        EXPECT_EQ(told.empty(), *report == '\0');
        EXPECT_EQ(options.number, 7);
        m_folder.write("options.ini/x", "");
    }
}

} // namespace

} // namespace tavo::kit
