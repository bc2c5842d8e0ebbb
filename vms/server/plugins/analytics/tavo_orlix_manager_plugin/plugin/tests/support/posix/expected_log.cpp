// What a test says in the log at a server's verbosity, line by line: operators read it, and look
// for what they know. expected_log.txt of a test program has the lines of each test that it names;
// a test whose lines are others fails. TAVO_RECORD_LOG=FILE, with the names of tests in the file
// ("== Suite.Test", a line each), has their lines written into it instead.

#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

namespace
{

constexpr char kMark[] = "== ";

using LinesByTest = std::map<std::string, std::string>;

LinesByTest read(const char* path)
{
    LinesByTest all;
    std::string* lines = nullptr;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        if (line.starts_with(kMark))
            lines = &all[line.substr(sizeof(kMark) - 1)];
        else if (lines)
            *lines += line + "\n";
    }
    return all;
}

void write(const char* path, const LinesByTest& all)
{
    std::ofstream file(path);
    for (const auto& [test, lines] : all)
        file << kMark << test << "\n" << lines;
}

// Without what is another one in each run, and fit to be compared by eye.
std::string withoutChance(std::string text)
{
    const std::pair<std::string, const char*> replacements[] = {
        {R"((ORLIX Plugin: )?\d{13} \d{9,}: )", ""}, // heads of lines
        // What is told of the machine at hand.
        {R"(Initializing Runtimes Manager\n(.+\n)+?Machine Info:\n(OS Name.+\n)?(Chip name.+\n)*)",
         "{machine}\n"},
        {std::filesystem::temp_directory_path().string() + R"(/orlix_[a-z_]*\d+_\d+)", "{folder}"},
        {R"(orlix_test_[a-z_]+_\d+_\d+)", "{name}"},
        {R"(/[^" ]+/(tavo_test_program))", "$1"},
        // As often as a test looks.
        {R"(Checking Orlix Manager running status\n(Orlix Manager running: \d+\n)?)", ""},
        {R"((.)\1{40,})", "$1{many}"},
        {R"(after \d+ ms)", "after {time}"},
        {R"(Time now:  \d+)", "Time now:  {time}"},
        {R"(\(\d+%\))", "({part}%)"},
        {R"((//[\w.]+|127\.0\.0\.1):\d+)", "$1:{port}"},
        {R"(\},\{)", "},\n{"}}; // an item of a dialog a line
    for (const auto& [what, by] : replacements)
        text = std::regex_replace(text, std::regex(what), by);
    return text;
}

class ExpectedLog : public testing::EmptyTestEventListener
{
public:
    void OnTestStart(const testing::TestInfo& test) override
    {
        CapturedLog::told().clear();
        if (m_expected.contains(nameOf(test)))
            m_log.emplace(/*verbosity*/ 1);
    }

    void OnTestEnd(const testing::TestInfo& test) override
    {
        if (!m_log)
            return;
        m_log.reset();
        const std::string told = withoutChance(CapturedLog::told());
        std::string& expected = m_expected[nameOf(test)];
        if (m_record)
        {
            expected = told;
            write(m_record, m_expected);
        }
        else if (!test.result()->Skipped())
        {
            EXPECT_EQ(told, expected) << "in " << TAVO_EXPECTED_LOG;
        }
    }

private:
    static std::string nameOf(const testing::TestInfo& test)
    {
        return std::string(test.test_suite_name()) + "." + test.name();
    }

    const char* const m_record = std::getenv("TAVO_RECORD_LOG");
    LinesByTest m_expected = read(m_record ? m_record : TAVO_EXPECTED_LOG);
    std::optional<CapturedLog> m_log;
};

[[maybe_unused]] const bool isListening = []
{
    testing::UnitTest::GetInstance()->listeners().Append(new ExpectedLog); // which owns it
    return true;
}();

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix::test
