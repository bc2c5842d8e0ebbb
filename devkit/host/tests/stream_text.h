#pragma once

#include <string>

#include "page/viewer.h"

namespace tavo::devkit
{

inline size_t lengthIn(const Viewer::Message& message, size_t position)
{
    size_t length = 0;
    for (size_t i = 0; i < 4; ++i)
        length |= size_t(static_cast<unsigned char>((*message)[position + i])) << 8 * i;
    return length;
}

// The JSON of a message.
inline std::string jsonOf(const Viewer::Message& message)
{
    return message ? message->substr(8, lengthIn(message, 0)) : "closed";
}

// The bytes of its picture; all that is behind the JSON where the lengths are wrong.
inline std::string pictureOf(const Viewer::Message& message)
{
    if (!message)
        return "closed";
    const std::string picture = message->substr(8 + lengthIn(message, 0));
    return picture.size() == lengthIn(message, 4) ? picture : "of another length: " + picture;
}

} // namespace tavo::devkit
