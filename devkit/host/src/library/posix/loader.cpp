#include "library/loader.h"

#include <stdexcept>

#include <dlfcn.h>

namespace tavo::devkit
{

namespace
{

[[noreturn]] void fail()
{
    const char* const text = dlerror();
    throw std::runtime_error(text ? text : "the loader gives no reason");
}

} // namespace

void* openLibrary(const std::string& file)
{
    // A name without a slash would be looked for in the system's folders.
    const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
        fail();
    return library;
}

void* findSymbol(void* library, const char* name)
{
    void* const symbol = dlsym(library, name);
    if (!symbol)
        fail();
    return symbol;
}

void closeLibrary(void* library)
{
    if (dlclose(library) != 0)
        fail();
}

} // namespace tavo::devkit
