#pragma once

#include <string>
#include <string_view>

namespace tavo::devkit
{

// A video's address as anybody may see it: with stars in place of the user and the password before
// the machine's name, and of what is secret among the parameters. A file's name stays as it is.
[[nodiscard]] std::string shownAddress(std::string_view address);

} // namespace tavo::devkit
