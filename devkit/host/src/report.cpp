#include "report.h"

#include <algorithm>
#include <cstdio>

namespace tavo::devkit
{

namespace
{

std::string fixed(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.*f", digits, value);
    return text;
}

} // namespace

std::string liveLine(
    int camera, const CameraTotals& before, const CameraTotals& now, uint64_t personsNow,
    double seconds)
{
    seconds = std::max(seconds, 0.001);
    const uint64_t results = now.results - before.results;
    const double latencyMs =
        results ? double(now.latencySumUs - before.latencySumUs) / double(results) / 1000 : 0;
    return "camera " + std::to_string(camera) + ": sent " +
        fixed(double(now.framesSent - before.framesSent) / seconds, 1) + " fps, results " +
        fixed(double(results) / seconds, 1) + " a second, persons " + std::to_string(personsNow) +
        ", latency " + fixed(latencyMs, 0) + " ms";
}

std::string summaryLine(const std::string& name, const CameraTotals& totals)
{
    return name + ": frames " + std::to_string(totals.framesSent) + " (lost " +
        std::to_string(totals.framesLost) + ", refused " + std::to_string(totals.pushFailures) +
        "), results " + std::to_string(totals.results) + ", persons " +
        fixed(totals.personsPerResult(), 2) + " a frame, FPS events " +
        std::to_string(totals.fpsEvents) + ", counted " + std::to_string(totals.countedEvents) +
        ", line crossings " + std::to_string(totals.lineCrossings) + ", other events " +
        std::to_string(totals.otherEvents) + ", latency mean " + fixed(totals.latencyMeanMs(), 1) +
        " ms, max " + fixed(totals.latencyMaxMs(), 1) + " ms";
}

std::string resourcesLine(double seconds, const ProcessResources& resources, int64_t liveObjects)
{
    return "resources at " + fixed(seconds, 0) + " s: memory " +
        fixed(double(resources.residentBytes) / 1e6, 1) + " MB, descriptors " +
        std::to_string(resources.descriptors) + ", threads " + std::to_string(resources.threads) +
        ", library objects " + std::to_string(liveObjects);
}

} // namespace tavo::devkit
