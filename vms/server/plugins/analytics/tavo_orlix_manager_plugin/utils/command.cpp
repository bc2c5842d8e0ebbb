#include "utils/command.h"

#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{

std::vector<std::string> splitCommandLine(std::string_view commandLine)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    std::vector<std::string> words;
    std::string word;
    bool isInWord = false;
    bool isQuoted = false;
    for (const char character : commandLine)
    {
        if (character == '"')
        {
            isQuoted = !isQuoted;
            isInWord = true; // also an empty one
        }
        else if (isQuoted || kBlanks.find(character) == std::string_view::npos)
        {
            word += character;
            isInWord = true;
        }
        else if (isInWord)
        {
            words.push_back(std::exchange(word, {}));
            isInWord = false;
        }
    }
    if (isInWord)
        words.push_back(std::move(word));
    return words;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
