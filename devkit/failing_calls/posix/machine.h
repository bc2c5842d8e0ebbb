#pragma once

#include <string>
#include <vector>

#include <testing/comes_true.h>

#include "guarded_host.h"

namespace tavo::devkit
{

using test_support::comesTrue;

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
