#pragma once

#include <string>

namespace tavo::devkit
{

// The system's dynamic loader. All throw std::runtime_error with the loader's own text.

// Opens a library with all its symbols resolved and none of them visible to other libraries.
[[nodiscard]] void* openLibrary(const std::string& file);

// The address of an exported name.
[[nodiscard]] void* findSymbol(void* library, const char* name);

void closeLibrary(void* library);

} // namespace tavo::devkit
