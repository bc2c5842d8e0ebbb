// A program that does what a test tells it, in place of the applications and tools that the system
// under test starts. It is told in steps: a word and an operand each, as arguments; or, one step a
// line, in a file beside it with ".steps" behind its name, and then the arguments are what the
// system under test gives it.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <thread>
#include <utility>

#include "program_calls.h"

namespace tavo::test_support
{
namespace
{

namespace fs = std::filesystem;

struct Step
{
    std::string word;
    std::string operand;
};

struct Program
{
    fs::path path;
    std::vector<std::string> arguments;
    int repetitions = 1; // of the next step
};

std::vector<Step> stepsInFile(const fs::path& path)
{
    std::vector<Step> steps;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);)
    {
        const std::size_t blank = line.find(' ');
        const bool isBare = blank == std::string::npos;
        steps.push_back({line.substr(0, blank), isBare ? "" : line.substr(blank + 1)});
    }
    return steps;
}

std::vector<Step> stepsInArguments(const std::vector<std::string>& arguments)
{
    std::vector<Step> steps;
    for (std::size_t i = 0; i < arguments.size(); i += 2)
        steps.push_back({arguments[i], i + 1 < arguments.size() ? arguments[i + 1] : ""});
    return steps;
}

std::vector<std::string> splitAtCommas(const std::string& text)
{
    std::vector<std::string> parts{""};
    for (const char character : text)
    {
        if (character == ',')
            parts.emplace_back();
        else
            parts.back() += character;
    }
    return parts;
}

void writeLine(std::FILE* stream, const std::string& text)
{
    std::fputs((text + "\n").c_str(), stream);
    std::fflush(stream);
}

void sleepFor(std::chrono::milliseconds time)
{
    std::this_thread::sleep_for(time);
}

// Written beside and moved into place, so that nobody reads half of it.
void writeOwnId(const std::string& path)
{
    const std::string draft = path + ".new";
    std::ofstream(draft, std::ios::binary) << ownProcessId() << '\n';
    std::error_code ignored;
    fs::rename(draft, path, ignored);
}

using Action = void (*)(Program& program, const std::string& operand);

const std::map<std::string, Action>& actions()
{
    static const std::map<std::string, Action> all = {
        {"print", [](Program&, const std::string& text) { writeLine(stdout, text); }},
        {"error", [](Program&, const std::string& text) { writeLine(stderr, text); }},
        {"print-bytes",
         [](Program&, const std::string& count)
         { std::fputs(std::string(std::stoul(count), 'x').c_str(), stdout); }},
        {"print-input",
         [](Program&, const std::string&)
         {
             for (int character = std::getchar(); character != EOF; character = std::getchar())
                 std::putchar(character);
         }},
        {"sleep",
         [](Program&, const std::string& seconds)
         { sleepFor(std::chrono::seconds(std::stoul(seconds))); }},
        {"wait-for",
         [](Program& program, const std::string& name)
         {
             while (!fs::exists(program.path.parent_path() / name))
                 sleepFor(std::chrono::milliseconds(10));
         }},
        {"remove",
         [](Program& program, const std::string& name)
         {
             // Whoever made it may have it open still, where that stands in the way.
             std::error_code error;
             while (!fs::remove(program.path.parent_path() / name, error) && error)
                 sleepFor(std::chrono::milliseconds(10));
         }},
        {"close-output",
         [](Program&, const std::string&)
         {
             std::fclose(stdout);
             std::fclose(stderr);
         }},
        {"exit", [](Program&, const std::string& code) { std::exit(std::stoi(code)); }},
        {"end-without-arguments",
         [](Program& program, const std::string&)
         {
             if (program.arguments.empty())
                 std::exit(0);
         }},
        {"end-with-argument",
         [](Program& program, const std::string& argument)
         {
             if (!program.arguments.empty() && program.arguments.front() == argument)
                 std::exit(0);
         }},
        {"ignore-requests-to-end", [](Program&, const std::string&) { ignoreRequestsToEnd(); }},
        {"write-arguments",
         [](Program& program, const std::string& name)
         {
             std::string line;
             for (const std::string& argument : program.arguments)
                 line += (line.empty() ? "" : " ") + argument;
             std::ofstream(program.path.parent_path() / name, std::ios::binary) << line << '\n';
         }},
        {"write-id", [](Program&, const std::string& path) { writeOwnId(path); }},
        // Both take the other's arguments, parted by commas.
        {"start",
         [](Program& program, const std::string& arguments)
         { startAgain(program.path, splitAtCommas(arguments), /*apart*/ false); }},
        {"start-apart",
         [](Program& program, const std::string& arguments)
         { startAgain(program.path, splitAtCommas(arguments), /*apart*/ true); }},
        // Through one that ends at once.
        {"start-orphan",
         [](Program& program, const std::string& arguments) {
             startAgain(program.path, {"start-apart", arguments}, /*apart*/ false);
         }},
        {"repeat",
         [](Program& program, const std::string& count)
         { program.repetitions = std::stoi(count); }},
    };
    return all;
}

int run(Program& program, const std::vector<Step>& steps)
{
    for (const Step& step : steps)
    {
        const auto action = actions().find(step.word);
        if (action == actions().end())
        {
            writeLine(stderr, "no such step: " + step.word);
            return 120;
        }
        const int repetitions = std::exchange(program.repetitions, 1);
        for (int i = 0; i < repetitions; ++i)
            action->second(program, step.operand);
    }
    return 0;
}

} // namespace
} // namespace tavo::test_support

int main(int count, char** arguments)
{
    using namespace tavo::test_support;
    makeStreamsBinary();
    Program program{ownPath(arguments[0]), {arguments + 1, arguments + count}};
    std::filesystem::path stepsFile = program.path;
    stepsFile += ".steps";
    return run(
        program,
        std::filesystem::exists(stepsFile) ? stepsInFile(stepsFile)
                                           : stepsInArguments(program.arguments));
}
