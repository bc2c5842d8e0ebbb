#include "utils/log.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "utils/clock.h"
#include "utils/console.h"
#include "utils/files.h"
#include "utils/log_rarely.h"
#include "utils/log_repetitions.h"
#include "utils/mutex.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr std::uint64_t kSizeLimit = 10'000'000; // bytes of the start log, and of a main log

// Read before anything else, and without the lock: a silent line must cost next to nothing.
std::atomic<int> logVerbosity{1};
std::atomic<bool> logToConsole{false};
std::atomic<bool> logToFile{true};

// Of the previous line; approximate under load.
std::atomic<std::uint64_t> lastTimeUs{std::numeric_limits<std::uint64_t>::max()};

struct LineTime
{
    std::uint64_t nowMs;
    std::uint64_t sinceLastUs; // 0 for the first line of the process
};

LineTime nextLineTime()
{
    const std::uint64_t now = time_now_us();
    const std::uint64_t last = lastTimeUs.exchange(now, std::memory_order_relaxed);
    return {now / 1000, now - std::min(last, now)};
}

// A text of whatever length that needs no memory as long as it is short; cut where there is none.
class FormattedText
{
public:
    [[ORLIX_PRINTF(2, 0)]] FormattedText(const char* format, std::va_list arguments)
    {
        std::va_list copy;
        va_copy(copy, arguments);
        const int needed = std::vsnprintf(m_short, sizeof m_short, format, arguments);
        m_length = needed < 0 ? 0 : static_cast<std::size_t>(needed);
        if (m_length >= sizeof m_short)
        {
            m_long.reset(new (std::nothrow) char[m_length + 1]);
            if (m_long)
                std::vsnprintf(m_long.get(), m_length + 1, format, copy);
            else
                m_length = sizeof m_short - 1;
        }
        va_end(copy);
    }

    [[nodiscard]] std::string_view text() const
    {
        return {m_long ? m_long.get() : m_short, m_length};
    }

private:
    char m_short[1024];
    std::unique_ptr<char[]> m_long;
    std::size_t m_length = 0;
};

[[ORLIX_PRINTF(2, 0)]] void printTo(
    ConsoleStream stream, const char* format, std::va_list arguments)
{
    console_write(stream, FormattedText(format, arguments).text());
}

[[ORLIX_PRINTF(2, 3)]] void printTo(ConsoleStream stream, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    printTo(stream, format, arguments);
    va_end(arguments);
}

FileStream openLog(const std::string& path, bool append)
{
    FileStream file(append ? file_open_append(path.c_str()) : file_open_write(path.c_str()));
    if (file)
        file_allow_all(file.get());
    return file;
}

// The two files and their rotation.
class LogFiles
{
public:
    void open(
        const std::string& startPath, const std::string& mainPath, const std::string& prefix,
        bool toFile) EXCLUDES(m_mutex);
    void close() EXCLUDES(m_mutex);

    [[nodiscard]] std::string prefix() EXCLUDES(m_mutex);

    void writeLine(const LineTime& time, std::string_view text) EXCLUDES(m_mutex);

private:
    void closeStreams() REQUIRES(m_mutex);
    std::FILE* streamForLine() REQUIRES(m_mutex);
    bool rotate() REQUIRES(m_mutex);
    void tellOnce(ConsoleStream stream, std::string_view failure) REQUIRES(m_mutex);

    Mutex m_mutex{LockLevel::log};
    bool m_isOpen GUARDED_BY(m_mutex) = false;
    std::string m_prefix GUARDED_BY(m_mutex);
    std::string m_startPath GUARDED_BY(m_mutex);
    std::string m_mainPath GUARDED_BY(m_mutex);
    std::string m_oldPath GUARDED_BY(m_mutex);
    FileStream m_start GUARDED_BY(m_mutex);
    FileStream m_main GUARDED_BY(m_mutex);
    bool m_startFinished GUARDED_BY(m_mutex) = false;
    std::uint64_t m_bytes GUARDED_BY(m_mutex) = 0; // written to the current file
    bool m_failureTold GUARDED_BY(m_mutex) = false;
};

void LogFiles::open(
    const std::string& startPath, const std::string& mainPath, const std::string& prefix,
    bool toFile)
{
    // Before anything changes, since memory may be lacking for one of them.
    std::string texts[] = {prefix, startPath, mainPath, mainPath + ".old"};
    const MutexLock lock(m_mutex);
    closeStreams();
    m_prefix.swap(texts[0]);
    m_startPath.swap(texts[1]);
    m_mainPath.swap(texts[2]);
    m_oldPath.swap(texts[3]);
    m_startFinished = false;
    m_bytes = 0;
    m_failureTold = false;
    m_isOpen = true;
    if (!toFile)
        return;
    m_start = openLog(m_startPath, /*append*/ false);
    if (!m_start)
        print_out("Failed to initialise logfile: %s\n", m_startPath.c_str());
    m_main = openLog(m_mainPath, /*append*/ false);
    if (!m_main)
        print_out("Failed to initialise logfile: %s\n", m_mainPath.c_str());
}

void LogFiles::close()
{
    const MutexLock lock(m_mutex);
    closeStreams();
    m_isOpen = false;
    // Nothing is left to be freed when the library is unloaded.
    for (std::string* const text : {&m_prefix, &m_startPath, &m_mainPath, &m_oldPath})
        std::string().swap(*text);
}

void LogFiles::closeStreams()
{
    m_start.reset();
    m_main.reset();
}

std::string LogFiles::prefix()
{
    const MutexLock lock(m_mutex);
    return m_prefix;
}

void LogFiles::writeLine(const LineTime& time, std::string_view text)
{
    const MutexLock lock(m_mutex);
    if (!m_isOpen || !logToFile.load(std::memory_order_relaxed))
        return;
    std::FILE* const stream = streamForLine();
    if (!stream)
        return;
    const int count = std::fprintf(
        stream, "%s%llu %09llu: %.*s", m_prefix.c_str(),
        static_cast<unsigned long long>(time.nowMs),
        static_cast<unsigned long long>(time.sinceLastUs), static_cast<int>(text.size()),
        text.data());
    if (count >= 0)
        m_bytes += static_cast<std::uint64_t>(count);
    else
        tellOnce(ConsoleStream::output, "Failed to write to log file!\n");
    if (logVerbosity.load(std::memory_order_relaxed) >= 2)
        std::fflush(stream);
}

// The start log until it has the limit, then the main log; a line that passes a limit is whole.
std::FILE* LogFiles::streamForLine()
{
    if (!m_startFinished)
    {
        if (m_bytes >= kSizeLimit)
        {
            m_startFinished = true;
            m_bytes = 0;
            m_start.reset();
        }
        else if (m_start)
        {
            return m_start.get();
        }
    }
    if (!m_main)
    {
        m_main = openLog(m_mainPath, /*append*/ true);
        if (!m_main)
        {
            tellOnce(ConsoleStream::error, "Error creating log file");
            return nullptr;
        }
    }
    if (m_bytes > kSizeLimit && !rotate())
        return nullptr;
    return m_main.get();
}

bool LogFiles::rotate()
{
    m_main.reset();
    std::error_code error;
    std::filesystem::remove(pathFromUtf8(m_oldPath), error); // there is none at the first rotation
    std::filesystem::rename(pathFromUtf8(m_mainPath), pathFromUtf8(m_oldPath), error);
    if (error)
    {
        tellOnce(ConsoleStream::error, "Error renaming file: " + error.message() + "\n");
        return false;
    }
    m_main = openLog(m_mainPath, /*append*/ false);
    if (!m_main)
    {
        tellOnce(ConsoleStream::error, "Error creating log file");
        return false;
    }
    m_bytes = 0;
    return true;
}

// A full disk would have it told with each line.
void LogFiles::tellOnce(ConsoleStream stream, std::string_view failure)
{
    if (!std::exchange(m_failureTold, true))
        console_write(stream, failure);
}

// Never destroyed: threads of the host may log until the process has ended.
LogFiles& logFiles()
{
    alignas(LogFiles) static std::byte memory[sizeof(LogFiles)];
    static LogFiles* const files = new (memory) LogFiles;
    return *files;
}

void writeText(std::string_view text)
{
    if (logVerbosity.load(std::memory_order_relaxed) == 0)
        return;
    const LineTime time = nextLineTime();
    if (logToConsole.load(std::memory_order_relaxed))
    {
        // With one write, so that lines of several threads stay whole.
        printTo(
            ConsoleStream::output, "%s%llu %09llu: %.*s", logFiles().prefix().c_str(),
            static_cast<unsigned long long>(time.nowMs),
            static_cast<unsigned long long>(time.sinceLastUs), static_cast<int>(text.size()),
            text.data());
    }
    logFiles().writeLine(time, text);
}

[[ORLIX_PRINTF(1, 0)]] void writeLine(const char* format, std::va_list arguments)
{
    if (logVerbosity.load(std::memory_order_relaxed) != 0)
        writeText(FormattedText(format, arguments).text());
}

// Those of a verbosity that leaves none out are not looked at.
class Repetitions
{
public:
    [[nodiscard]] std::optional<std::uint64_t> pass(const char* format, std::string_view subject)
        EXCLUDES(m_mutex)
    {
        const int verbosity = logVerbosity.load(std::memory_order_relaxed);
        if (verbosity == 0)
            return std::nullopt;
        if (verbosity > 1)
            return 0;
        const MutexLock lock(m_mutex);
        return m_repetitions.pass(format, subject);
    }

    void forget() EXCLUDES(m_mutex)
    {
        const MutexLock lock(m_mutex);
        m_repetitions = {};
    }

private:
    Mutex m_mutex{LockLevel::log};
    LogRepetitions m_repetitions GUARDED_BY(m_mutex);
};

// Never destroyed, like the files.
Repetitions& repetitions()
{
    alignas(Repetitions) static std::byte memory[sizeof(Repetitions)];
    static Repetitions* const instance = new (memory) Repetitions;
    return *instance;
}

[[ORLIX_PRINTF(2, 0)]] void writeCounted(
    std::uint64_t leftOut, const char* format, std::va_list arguments)
{
    const FormattedText formatted(format, arguments);
    std::string_view text = formatted.text();
    const bool ends = text.ends_with('\n');
    text.remove_suffix(ends ? 1 : 0);
    log_info(
        "%.*s (%llu more since the last one)%s", static_cast<int>(text.size()), text.data(),
        static_cast<unsigned long long>(leftOut), ends ? "\n" : "");
}

} // namespace

void log_init(
    const std::string& startLogPath, const std::string& mainLogPath, const std::string& prefix,
    bool console, bool file, int verbosity)
{
    logFiles().open(startLogPath, mainLogPath, prefix, file);
    repetitions().forget(); // each log has the first of each kind
    logToConsole.store(console, std::memory_order_relaxed);
    logToFile.store(file, std::memory_order_relaxed);
    logVerbosity.store(verbosity, std::memory_order_relaxed);
}

void log_close()
{
    logToConsole.store(false, std::memory_order_relaxed);
    logToFile.store(false, std::memory_order_relaxed);
    logVerbosity.store(0, std::memory_order_relaxed);
    logFiles().close();
}

void log_info(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    writeLine(format, arguments);
    va_end(arguments);
}

void log_rarely(std::string_view subject, const char* format, ...)
{
    if (!repetitions().pass(format, subject))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    writeLine(format, arguments);
    va_end(arguments);
}

void log_warning(std::string_view subject, const char* format, ...)
{
    const auto leftOut = repetitions().pass(format, subject);
    if (!leftOut)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    if (*leftOut == 0)
        writeLine(format, arguments);
    else
        writeCounted(*leftOut, format, arguments);
    va_end(arguments);
}

void log_debug(const char* format, ...)
{
    if (logVerbosity.load(std::memory_order_relaxed) <= 1)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    writeLine(format, arguments);
    va_end(arguments);
}

void log_error(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const FormattedText text(format, arguments);
    va_end(arguments);
    console_write(ConsoleStream::error, text.text());
    writeText(text.text());
}

void print_out(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    printTo(ConsoleStream::output, format, arguments);
    va_end(arguments);
}

std::string log_format_alloc(std::size_t firstSize, const char* format, ...)
{
    std::string text(firstSize, '\0');
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list copy;
    va_copy(copy, arguments);
    const int needed = std::vsnprintf(text.data(), text.size(), format, copy);
    va_end(copy);
    const std::size_t length = needed < 0 ? 0 : static_cast<std::size_t>(needed);
    const bool tooSmall = length >= firstSize;
    text.resize(tooSmall ? length + 1 : length);
    if (tooSmall)
    {
        std::vsnprintf(text.data(), text.size(), format, arguments);
        text.resize(length);
    }
    va_end(arguments);
    return text;
}

bool log_size_of_file(const std::string& path, std::uint32_t& size)
{
    std::error_code error;
    const std::uintmax_t whole = std::filesystem::file_size(pathFromUtf8(path), error);
    if (error)
    {
        print_out(
            "An unexpected error occurred accessing log file: %s %s\n", path.c_str(),
            error.message().c_str());
        return false;
    }
    size = static_cast<std::uint32_t>(whole & 0xFFFFFFFF);
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
