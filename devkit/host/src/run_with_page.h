#pragma once

#include "common/options.h"

namespace tavo::devkit
{

// Runs a host as Host::run does, and serves the page meanwhile. Throws std::runtime_error, in a
// build without OpenCV always.
[[nodiscard]] bool runWithPage(const Options& options);

} // namespace tavo::devkit
