#pragma once

#include "findings.h"
#include "library/loaded_engine.h"

namespace tavo::devkit
{

// Gives a library's top object with a guard at each crossing: what goes in calls on behalf of the
// library, and what comes out of it is the host's own again. An exception that comes out is a
// finding; the host sees a failure then. The findings are not owned.
[[nodiscard]] LoadedEngine::MakePlugin guardedPlugin(Findings& findings);

} // namespace tavo::devkit
