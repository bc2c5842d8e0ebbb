#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "utils/json.h"

// What the services write as JSON.

namespace tavo::devkit
{

// A member with a copy of the text; the key outlives the document.
inline void addText(
    yyjson_mut_doc* document, yyjson_mut_val* object, const char* key, std::string_view text)
{
    yyjson_mut_obj_add_strncpy(document, object, key, text.data(), text.size());
}

inline std::string written(const yyjson_mut_doc* document)
{
    const std::unique_ptr<char, decltype(&std::free)> text(
        yyjson_mut_write(document, YYJSON_WRITE_NOFLAG, nullptr), &std::free);
    return text ? text.get() : "";
}

} // namespace tavo::devkit
