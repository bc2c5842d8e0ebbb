// How interfaces are laid out here: GCC and clang agree.
#pragma once

#include <tavo/sdk/natural_layout.h>
