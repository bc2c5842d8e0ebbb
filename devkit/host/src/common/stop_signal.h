#pragma once

#include <cstdint>

namespace tavo::devkit
{

// The user's wish to end the program (Ctrl+C, a polite kill). One object in the process, made
// before any thread that waits on it.
class StopSignal
{
public:
    // Throws std::runtime_error when the system refuses.
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    // Waits for the wish. False when the time went by without it.
    [[nodiscard]] bool waitFor(int64_t timeUs) const;
};

} // namespace tavo::devkit
