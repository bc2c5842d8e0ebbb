#pragma once

#include <string>

#include "common/resources.h"
#include "metadata/statistics.h"

// The lines that a person reads. No state; any thread.

namespace tavo::devkit
{

// What happened to a camera between two moments `seconds` apart.
[[nodiscard]] std::string liveLine(
    int camera, const CameraTotals& before, const CameraTotals& now, uint64_t personsNow,
    double seconds);

// All that happened, under a name such as "camera 3" or "total".
[[nodiscard]] std::string summaryLine(const std::string& name, const CameraTotals& totals);

[[nodiscard]] std::string resourcesLine(
    double seconds, const ProcessResources& resources, int64_t liveObjects);

} // namespace tavo::devkit
