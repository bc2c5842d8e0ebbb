#include <tavo/kit/debug.h>

#include <cerrno>
#include <new>
#include <string>

#include <tavo/kit/error_stream.h>

namespace tavo::kit
{

namespace
{

// The folders of the machine that built the library mean nothing to its reader.
std::string_view withoutFolder(std::string_view path)
{
    const size_t separator = path.find_last_of("/\\");
    return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

// In one go as far as the system allows. What cannot be written is lost.
void writeToErrorStream(std::string_view text)
{
    const int formerErrno = errno;
    while (!text.empty())
    {
        const size_t written = writeSomeToErrorStream(text);
        if (written == 0)
            break;
        text.remove_prefix(written);
    }
    errno = formerErrno;
}

} // namespace

void printLine(std::string_view text)
{
    try
    {
        writeToErrorStream(std::string(text).append("\n"));
    }
    catch (const std::bad_alloc&)
    {} // nor is there memory to say so
}

void assertionFailed(
    std::string_view condition, std::string_view message, const char* file, int line)
{
    try
    {
        std::string text = "ASSERTION FAILED: ";
        text.append(withoutFolder(file)).append(":");
        text.append(std::to_string(line)).append(" (").append(condition).append(")");
        if (!message.empty())
            text.append(" ").append(message);
        printLine(text);
    }
    catch (const std::bad_alloc&)
    {}
}

} // namespace tavo::kit
