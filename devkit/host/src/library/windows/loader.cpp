#include "library/loader.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <windows.h>

namespace tavo::devkit
{

namespace
{

[[noreturn]] void fail(const std::string& name)
{
    const auto error = static_cast<int>(GetLastError());
    throw std::runtime_error(name + ": " + std::system_category().message(error));
}

} // namespace

void* openLibrary(const std::string& file)
{
    // With the whole path the libraries that it needs are looked for beside it and in the system's
    // folder, and not in the current one.
    const std::filesystem::path path =
        std::filesystem::absolute(std::u8string(file.begin(), file.end())).make_preferred();
    const HMODULE library = LoadLibraryExW(
        path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!library)
        fail(file);
    return library;
}

void* findSymbol(void* library, const char* name)
{
    const FARPROC symbol = GetProcAddress(static_cast<HMODULE>(library), name);
    if (!symbol)
        fail(name);
    return reinterpret_cast<void*>(symbol);
}

void closeLibrary(void* library)
{
    if (!FreeLibrary(static_cast<HMODULE>(library)))
        fail("FreeLibrary");
}

} // namespace tavo::devkit
