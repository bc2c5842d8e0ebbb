#pragma once

#include "engine/shapes.h"

namespace tavo::devkit
{

// The window that a detector on gradients found somebody in, cut down to the person.
[[nodiscard]] Box shrinkToPerson(const Box& window);

} // namespace tavo::devkit
