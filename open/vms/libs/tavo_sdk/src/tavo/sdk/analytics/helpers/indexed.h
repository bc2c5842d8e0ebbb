#pragma once

#include <vector>

#include <tavo/sdk/ptr.h>

namespace tavo::sdk::analytics
{

// The object at an index with a reference added for the caller, or null out of range.
template <class T>
T* objectAt(const std::vector<Ptr<T>>& objects, int index)
{
    if (index < 0 || static_cast<size_t>(index) >= objects.size())
        return nullptr;
    return Ptr<T>(objects[static_cast<size_t>(index)]).releasePtr();
}

} // namespace tavo::sdk::analytics
