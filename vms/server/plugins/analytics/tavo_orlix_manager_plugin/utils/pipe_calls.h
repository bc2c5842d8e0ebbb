#pragma once

#include "utils/pipes.h"

// What pipes need of the system. A failure leaves its reason in last_system_error().

namespace tavo::vms_server_plugins::analytics::orlix
{

struct PipeCalls
{
    enum class Result
    {
        data,
        ended, // no writer is left
        nothing, // came in that time
        notWaitable, // there is nothing to wait with
        waitFailed,
        notStarted, // the read
        readFailed, // after it was started
    };

    static constexpr int kForever = -1; // as a time-out

    [[nodiscard]] static bool isOpen(PipeHandle handle);

    static void close(PipeEnd& end);

    // Waits until any of the ends has data, or has ended, and sets `dataReady` of all those that
    // do. Gives data, nothing, notWaitable or waitFailed.
    [[nodiscard]] static Result waitForAny(std::span<PipeEnd* const> ends, int timeoutMs);

    // Waits for a byte, and takes it.
    [[nodiscard]] static Result takeByte(PipeEnd& end, int timeoutMs, std::uint8_t& byte);

    // Appends what can be read now, up to some 1,024 bytes, without waiting.
    [[nodiscard]] static Result takeSome(PipeEnd& end, std::string& text);

    [[nodiscard]] static bool writeByte(const PipeEnd& end, std::uint8_t byte);
};

} // namespace tavo::vms_server_plugins::analytics::orlix
