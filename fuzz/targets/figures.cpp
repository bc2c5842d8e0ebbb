#include <algorithm>
#include <cmath>

#include "device_agent/settings/figures.h"
#include "device_agent/settings/region_of_interest.h"
#include "fuzz_target.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

void checkBox(const Figure& box)
{
    for (const float coordinate : box.coordinates)
        FUZZ_CHECK(coordinate >= 0 && coordinate <= 1);
    if (box.outcome != FigureOutcome::parsed)
        return;
    FUZZ_CHECK(box.coordinates[0] <= box.coordinates[2]);
    FUZZ_CHECK(box.coordinates[1] <= box.coordinates[3]);
    for (const int size : {0, 1, 1920, 65536})
    {
        const PixelRegion region = regionOfInterest(size, size, box.coordinates);
        FUZZ_CHECK(region.left + region.width <= static_cast<std::uint32_t>(size));
        FUZZ_CHECK(region.top + region.height <= static_cast<std::uint32_t>(size));
    }
}

bool areFinite(const Figure& figure)
{
    return std::all_of(
        figure.coordinates.begin(), figure.coordinates.end(),
        [](float coordinate) { return std::isfinite(coordinate); });
}

} // namespace

// The figures that a user draws, as the host hands them out.
void tavo::fuzz::run(std::string_view text)
{
    const Figure polygon = parsePolygon(text);
    FUZZ_CHECK(polygon.coordinates.size() % 2 == 0);
    FUZZ_CHECK(polygon.outcome == FigureOutcome::parsed || polygon.coordinates.empty());
    FUZZ_CHECK(areFinite(polygon));

    const Figure line = parseLine(text);
    FUZZ_CHECK(line.coordinates.size() == (line.outcome == FigureOutcome::parsed ? 4u : 0u));
    FUZZ_CHECK(areFinite(line));

    const Figure box = parseBox(text);
    FUZZ_CHECK(box.coordinates.size() == (box.outcome == FigureOutcome::parsed ? 4u : 0u));
    checkBox(box);
}
