#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

// Pipes between processes, read byte by byte or as text. A failed call says so by its value and has
// logged why; nothing throws. No write raises a signal. A pipe end belongs to one thread at a time.

namespace tavo::vms_server_plugins::analytics::orlix
{

using PipeHandle = std::intptr_t;
inline constexpr PipeHandle kInvalidPipe = -1;

class PipeRead; // the platform's

struct PipeReadCloser
{
    void operator()(PipeRead* read) const;
};

// Owns its handle.
struct PipeEnd
{
    PipeHandle handle = kInvalidPipe;
    std::unique_ptr<PipeRead, PipeReadCloser> read; // where the system waits by reading ahead
    bool readPending = false; // a read is under way, whose byte is the next one
    bool dataReady = false; // pipe_wait_any saw a byte here while it served another pair

    PipeEnd() = default;
    explicit PipeEnd(PipeHandle owned) :
        handle(owned)
    {}
    ~PipeEnd();
    PipeEnd(PipeEnd&& other) noexcept;
    PipeEnd& operator=(PipeEnd&& other) noexcept;
};

// Two pipes. Functions that take a pair and a side use the up pipe with side 1, else the down pipe.
struct PipePair
{
    PipeEnd upRead;
    PipeEnd upWrite;
    PipeEnd downRead;
    PipeEnd downWrite;
};

// What the byte reads give in place of a byte.
inline constexpr int kPipeFailed = 255;
inline constexpr int kPipeTimeout = 253;
inline constexpr int kPipeEmpty = -4;

// Both handles are the caller's. Gives 1, or 0.
int pipe_create(PipeHandle& readHandle, PipeHandle& writeHandle);

// `status` is 0, or -2 on failure.
[[nodiscard]] PipePair pipe_pair_new(int& status);

[[nodiscard]] PipePair pipe_pair_fill(
    PipeEnd upRead, PipeEnd upWrite, PipeEnd downRead, PipeEnd downWrite);

// Closes what one party of the pair uses: with side 2 up write and down read, else down write and
// up read.
void pipe_close_side(PipePair& pair, int side);

[[nodiscard]] PipeEnd pipe_end_new();

// For a program that gets a pipe's end on its command line; nothing here calls it. The end whose
// handle was printed with "%p", blank if the text names no open handle.
[[nodiscard]] PipeEnd pipe_end_from_string(const std::string& text);

// Waits for a byte. Gives it, kPipeFailed, or kPipeEmpty when the other end has closed.
[[nodiscard]] int pipe_read_byte(PipePair& pair, int side);

// Gives 1, or 0.
int pipe_write_byte(const PipePair& pair, int side, std::uint8_t byte);

// Waits `seconds` for a byte. Gives it, kPipeTimeout, or kPipeFailed.
[[nodiscard]] int pipe_read_byte_timeout(PipePair& pair, int side, int seconds);

// Waits a second for a byte on any of the pairs, of which none is passed over for long. Gives the
// index of the pair that `byte` came from, or pairs.size() if none came.
[[nodiscard]] std::size_t pipe_wait_any(
    std::span<PipePair* const> pairs, int side, std::uint8_t* byte);

// All that can be read now, without waiting; nothing when a read fails.
[[nodiscard]] std::optional<std::string> pipe_read_text(PipeEnd& end);

} // namespace tavo::vms_server_plugins::analytics::orlix
