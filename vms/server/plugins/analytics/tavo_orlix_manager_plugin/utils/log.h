#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Where a format and its arguments stand, for the compiler to check. The formats are those of the C
// standard, also where the system's own C library has others.
#if defined(__clang__)
#define ORLIX_PRINTF(text, first) gnu::format(printf, text, first)
#else
#define ORLIX_PRINTF(text, first) gnu::format(gnu_printf, text, first)
#endif

// The process-wide logger. A line goes to the console, and to two files: the start log keeps the
// first 10,000,000 bytes of a run, the main log takes the rest and rotates with one ".old" beside
// it. A line is "<prefix><ms since the epoch> <us since the previous line>: " and the caller's
// text. A format ends with its own "\n" where the line is to end; the logger adds none.
//
// Every function may be called from any thread at any time, before log_init and after log_close
// too. The logger never fails its caller; its own errors go to the console streams.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Verbosity: 0 writes nothing, 1 what log_info and log_error say, 2 what log_debug says too, and
// then every line is flushed. Truncates both files. A logger that is still open is closed first,
// so that one engine may follow another in the same process.
void log_init(
    const std::string& startLogPath, const std::string& mainLogPath, const std::string& prefix,
    bool console, bool file, int verbosity);

// Closes the files and silences log_info and log_debug until the next log_init.
void log_close();

[[ORLIX_PRINTF(1, 2)]] void log_info(const char* format, ...);

// Costs a few nanoseconds when the verbosity is below 2, but for its arguments.
[[ORLIX_PRINTF(1, 2)]] void log_debug(const char* format, ...);

// Standard error gets the bare text, whatever the verbosity; then as log_info.
[[ORLIX_PRINTF(1, 2)]] void log_error(const char* format, ...);

// Standard output alone: no head, no file.
[[ORLIX_PRINTF(1, 2)]] void print_out(const char* format, ...);

// The formatted text; formatted a second time if it is longer than `firstSize` - 1 bytes. Empty
// when the format cannot be told.
[[nodiscard, ORLIX_PRINTF(2, 3)]] std::string log_format_alloc(
    std::size_t firstSize, const char* format, ...);

// Gives the low 32 bits of the file's size. False when it cannot be had; the console says why.
[[nodiscard]] bool log_size_of_file(const std::string& path, std::uint32_t& size);

} // namespace tavo::vms_server_plugins::analytics::orlix
