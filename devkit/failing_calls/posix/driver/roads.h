#pragma once

#include <memory>

#include "road.h"

namespace tavo::devkit
{

[[nodiscard]] std::unique_ptr<Road> makeLoadRoad(Findings& findings);

} // namespace tavo::devkit
