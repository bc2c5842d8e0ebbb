// A 16-byte identifier, as a plain record that crosses the ABI.
#pragma once

#include <stdint.h>

namespace tavo::sdk
{

struct Uuid
{
    uint8_t bytes[16]{};

    [[nodiscard]] bool isNull() const { return *this == Uuid{}; }

    friend bool operator==(const Uuid&, const Uuid&) = default;
};

static_assert(sizeof(Uuid) == 16 && alignof(Uuid) == 1);
static_assert(__is_trivially_copyable(Uuid) && __is_standard_layout(Uuid));

} // namespace tavo::sdk
