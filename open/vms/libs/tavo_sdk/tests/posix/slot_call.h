// Calls through a table of virtual operations by number. The destructor, which is slot 0, has two
// entries here.
#pragma once

#include <tavo/sdk/i_ref_countable.h>

namespace tavo::sdk::test
{

// What the base classes add to their interfaces' tables has its numbers too.
inline constexpr bool baseClassesHaveNumbers = true;

template <class R, class... Args>
R call(const IRefCountable* object, int slot, Args... args)
{
    constexpr int kExtraDestructorEntry = 1;
    using Operation = R (*)(const void*, Args...);
    void* const* const table = *reinterpret_cast<void* const* const*>(object);
    return reinterpret_cast<Operation>(table[slot + kExtraDestructorEntry])(object, args...);
}

} // namespace tavo::sdk::test
