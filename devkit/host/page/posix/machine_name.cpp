#include "page/machine_name.h"

#include <algorithm>
#include <cctype>

#include <unistd.h>

namespace tavo::devkit
{

std::string machineName()
{
    char text[256] = "";
    if (gethostname(text, sizeof(text) - 1) != 0)
        return {};
    std::string name(text);
    std::transform(
        name.begin(), name.end(), name.begin(),
        [](unsigned char letter) { return char(std::tolower(letter)); });
    return name;
}

} // namespace tavo::devkit
