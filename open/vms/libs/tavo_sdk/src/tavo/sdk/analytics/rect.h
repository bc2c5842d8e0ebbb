// A box in fractions of the frame: 0, 0 is its top left corner and 1, 1 its bottom right one.
// A plain record that crosses the ABI.
#pragma once

namespace tavo::sdk::analytics
{

struct Rect
{
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;

    friend bool operator==(const Rect&, const Rect&) = default;
};

static_assert(sizeof(float) == 4 && sizeof(Rect) == 16 && alignof(Rect) == 4);
static_assert(__is_trivially_copyable(Rect) && __is_standard_layout(Rect));

} // namespace tavo::sdk::analytics
