#pragma once

#include <functional>
#include <string>

#include "common/options.h"

namespace tavo::devkit
{

// The frame of both programs: reads the options, opens the log under that name, and closes all when
// `run` is done. The answer is the exit code; an exception goes to the log and to standard error,
// which the plugin's crash report shows.
[[nodiscard]] int runProgram(
    int argumentCount, char** arguments, const std::string& logName,
    const std::function<int(const Options&)>& run);

} // namespace tavo::devkit
