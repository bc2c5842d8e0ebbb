#pragma once

#include "worker.h"

namespace tavo::devkit
{

// Has a worker go through the runs, and another one go on behind each run that ended it. Prints
// what it finds, and at the end one line with how many runs there were and how many calls there
// are. True if nothing was found.
[[nodiscard]] bool supervise(const Runs& runs);

} // namespace tavo::devkit
