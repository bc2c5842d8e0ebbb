// The functions that the host looks up by name in the library, apart from the one that creates the
// plugin.
#pragma once

#include <tavo/sdk/export.h>
#include <tavo/sdk/i_lib_context.h>
#include <tavo/sdk/i_string_map.h>

extern "C" {
// The context of this library; built on first use.
TAVO_EXPORT tavo::sdk::ILibContext* tavoLibContext();

// The version of these headers, as a text that lives as long as the library.
TAVO_EXPORT const char* tavoSdkVersion();

// Replaces the process-wide test options; null clears them.
TAVO_EXPORT void tavoSetUnitTestOptions(const tavo::sdk::IStringMap* options);
}
