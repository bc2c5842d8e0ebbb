// What a program has of the C++ library, as far as this one needs it: there is none for its ABI
// here.
#pragma once

#include <tavo/sdk/i_ref_countable.h>

#include "border.h"

#define CHECK(condition)                                                                           \
    do                                                                                             \
    {                                                                                              \
        if (!(condition))                                                                          \
            hostFailed(__FILE__, __LINE__, #condition);                                            \
    } while (false)

namespace host
{

extern int living; // objects of this host

// Adds and gives what comes of it. Any thread.
template <class Number>
Number addTo(Number* number, int change)
{
    return __atomic_add_fetch(number, change, __ATOMIC_SEQ_CST);
}

template <class Interface>
class Counted : public Interface
{
public:
    Counted() { addTo(&living, 1); }
    ~Counted() override { addTo(&living, -1); }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    uint32_t addRef() const override { return addTo(&m_count, 1); }
    uint32_t releaseRef() const override
    {
        const uint32_t count = addTo(&m_count, -1);
        if (count == 0)
            delete this;
        return count;
    }

private:
    mutable uint32_t m_count = 1;
};

// A reference that is given back at the end.
template <class Interface>
class Owned
{
public:
    Owned(Interface* object) :
        m_object(object)
    {}
    ~Owned()
    {
        if (m_object)
            m_object->releaseRef();
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    Interface* operator->() const { return m_object; }
    Interface* get() const { return m_object; }

private:
    Interface* const m_object;
};

// With a reference added, or null.
template <class Interface>
Interface* cast(tavo::sdk::IRefCountable* object)
{
    return static_cast<Interface*>(object->queryInterface(Interface::kInterfaceIds[0]));
}

inline bool is(const char* text, const char* expected)
{
    return text && tavo::sdk::isSameText(text, expected);
}

} // namespace host
