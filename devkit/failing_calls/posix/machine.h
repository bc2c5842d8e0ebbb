#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "guarded_host.h"

namespace tavo::devkit
{

// Waits, polling. False if it does not come about in that time.
[[nodiscard]] bool comesAbout(
    const std::function<bool()>& isSo,
    std::chrono::milliseconds limit = std::chrono::milliseconds(20'000));

// A sandbox with one camera and two encrypted models, each in a pipeline of its own.
class Machine : public Sandbox
{
public:
    // `options` go into the library's ini file.
    explicit Machine(const std::vector<std::string>& options = {});

    // The user who wants to see results, and pushes a frame: he presses what the dialog offers.
    // True once results have come since `before`.
    [[nodiscard]] bool helpToResults(GuardedHost& host, std::uint64_t before);

    // To the first results, as a user brings it there. False if it does not come to that.
    [[nodiscard]] bool bringUp(GuardedHost& host);

    [[nodiscard]] bool logContains(const std::string& text) const;

private:
    int m_step = 0;
};

} // namespace tavo::devkit
