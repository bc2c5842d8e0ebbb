#include "road.h"

#include <iterator>
#include <stdexcept>

#include "roads.h"

namespace tavo::devkit
{

namespace
{

constexpr struct
{
    const char* name;
    std::unique_ptr<Road> (*make)(Findings&);
} kRoads[] = {
    {"load", makeLoadRoad},   {"install", makeFirstInstallationRoad},
    {"frame", makeFrameRoad}, {"settings", makeSettingsRoad},
    {"crash", makeCrashRoad},
};

} // namespace

const std::vector<std::string>& roadNames()
{
    static const std::vector<std::string> names = []()
    {
        std::vector<std::string> all;
        for (const auto& road : kRoads)
            all.emplace_back(road.name);
        return all;
    }();
    return names;
}

std::unique_ptr<Road> makeRoad(const std::string& name, Findings& findings)
{
    for (const auto& road : kRoads)
    {
        if (name == road.name)
            return road.make(findings);
    }
    throw std::invalid_argument("There is no such road");
}

} // namespace tavo::devkit
