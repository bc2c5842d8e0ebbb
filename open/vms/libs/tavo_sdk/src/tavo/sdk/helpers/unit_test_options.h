#pragma once

#include <map>
#include <string>

namespace tavo::sdk
{

// A copy of what the host last gave to tavoSetUnitTestOptions; empty at the start. Any thread.
std::map<std::string, std::string> unitTestOptions();

} // namespace tavo::sdk
