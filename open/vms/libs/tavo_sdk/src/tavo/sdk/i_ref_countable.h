// The root of every interface between the host and the library.
//
// An interface is a table of virtual operations and nothing else, so that host and library may come
// from different compilers. Its operations stand in slot order; a new one goes to the end of a new
// interface level. Operations of one interface never share a name, since compilers differ in how
// they order overloads. For what else they differ in there is layout.h.
//
// Counting rule, for every operation of every interface, unless a comment there says otherwise:
// - An object is created with one reference, which belongs to its creator.
// - A counted pointer that is returned, alone or inside a Result, carries a reference that the
//   receiver must release.
// - A counted pointer that is an argument lives for the call. Who keeps it longer adds a reference.
// - A text (`const char*`, UTF-8, null-terminated) belongs to the object that gave it and lives as
//   long as that object is neither changed nor released.
//
// Any thread may add and release references, and the last release destroys the object on its
// thread.
#pragma once

#include <stdint.h>

#include <tavo/sdk/layout.h>

namespace tavo::sdk
{

// Interfaces are compiled by hosts too, and need nothing of the C++ library.
inline bool isSameText(const char* left, const char* right)
{
    while (*left && *left == *right)
    {
        ++left;
        ++right;
    }
    return *left == *right;
}

class IRefCountable
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IRefCountable"};

    // the order is the ABI: append only

    TAVO_DESTRUCTOR(IRefCountable);

    // Gives this object with a reference added if it is an interface of that id, else null. Since
    // interfaces derive singly, the pointer may be cast to the interface that was asked for.
    [[nodiscard]] virtual IRefCountable* queryInterface(const char* interfaceId) = 0;

    // Both give the new count.
    virtual uint32_t addRef() const = 0;
    virtual uint32_t releaseRef() const = 0;
};

inline IRefCountable* IRefCountable::queryInterface(const char* interfaceId)
{
    if (!interfaceId || !isSameText(interfaceId, kInterfaceIds[0]))
        return nullptr;
    addRef();
    return this;
}

} // namespace tavo::sdk
