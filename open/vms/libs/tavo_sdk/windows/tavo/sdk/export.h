// Marks a function that the host finds by name in the loaded library.
#pragma once

#define TAVO_EXPORT [[gnu::dllexport]]
