#pragma once

#include <string>

#include "page/viewer.h"

namespace tavo::devkit
{

// The JSON of a message.
inline std::string jsonOf(const Viewer::Message& message)
{
    if (!message)
        return "closed";
    size_t length = 0;
    for (size_t i = 0; i < 4; ++i)
        length |= size_t(static_cast<unsigned char>((*message)[i])) << 8 * i;
    return message->substr(8, length);
}

} // namespace tavo::devkit
