#pragma once

#include <span>
#include <vector>

#include "engine/detection.h"

namespace tavo::devkit
{

// The objects in one head of NanoDet's: `head` is 124 x rows x columns floats, each cell `stride`
// pixels of the model's input. Boxes are in pixels of that input and may reach beyond it. Throws
// std::invalid_argument where the size is another.
[[nodiscard]] std::vector<Detection> decodeHead(
    std::span<const float> head, int rows, int columns, int stride, float minScore);

} // namespace tavo::devkit
