#pragma once

#include <cstdint>
#include <fstream>

namespace tavo::devkit
{

// Tells, for measurements, when the result of which frame was sent: a line "INPUT TIMESTAMP SENT"
// each, times in microseconds of the wall clock. One thread.
class ResultTimes
{
public:
    // Appends to the file; null or a file that cannot be had tells nothing.
    explicit ResultTimes(const char* file);

    // Called just before the result is sent.
    void note(std::uint64_t inputIndex, std::uint64_t timestampUs);

private:
    std::ofstream m_file;
};

} // namespace tavo::devkit
