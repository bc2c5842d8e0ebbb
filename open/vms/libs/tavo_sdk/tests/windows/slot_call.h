// Calls through a table of virtual operations by number, as Microsoft's compiler does: the
// destructor, which is slot 0, has one entry, and a record is written to where the second parameter
// points.
#pragma once

#include <type_traits>

#include <tavo/sdk/i_ref_countable.h>

namespace tavo::sdk::test
{

// What the base classes add to their interfaces' tables is called by nobody but this library.
inline constexpr bool baseClassesHaveNumbers = false;

template <class R, class... Args>
R call(const IRefCountable* object, int slot, Args... args)
{
    void* const entry = (*reinterpret_cast<void* const* const*>(object))[slot];
    if constexpr (std::is_class_v<R>)
    {
        using Operation = R* (*)(const void*, R*, Args...);
        R result;
        return *reinterpret_cast<Operation>(entry)(object, &result, args...);
    }
    else
    {
        using Operation = R (*)(const void*, Args...);
        return reinterpret_cast<Operation>(entry)(object, args...);
    }
}

} // namespace tavo::sdk::test
