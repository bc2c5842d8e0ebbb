#pragma once

#include <memory>

#include "road.h"

namespace tavo::devkit
{

[[nodiscard]] std::unique_ptr<Road> makeLoadRoad(Findings& findings);
[[nodiscard]] std::unique_ptr<Road> makeFirstInstallationRoad(Findings& findings);
[[nodiscard]] std::unique_ptr<Road> makeFrameRoad(Findings& findings);
[[nodiscard]] std::unique_ptr<Road> makeSettingsRoad(Findings& findings);
[[nodiscard]] std::unique_ptr<Road> makeCrashRoad(Findings& findings);

} // namespace tavo::devkit
