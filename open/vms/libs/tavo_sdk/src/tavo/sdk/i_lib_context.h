// What a library shares with the host before any object of it exists: its name, and a place where
// counted objects report. Implemented by the library, which owns it and never gives it up.
#pragma once

#include <stdint.h>

#include <tavo/sdk/i_ref_countable.h>

namespace tavo::sdk
{

// Hears of every counted object of a library; for hosts that look for leaks. Implemented by the
// host, called on the thread that creates or destroys the object, which is then not usable yet, or
// not usable any more.
class IRefCountableRegistry
{
public:
    // the order is the ABI: append only
    TAVO_DESTRUCTOR(IRefCountableRegistry);
    virtual void notifyCreated(const IRefCountable* object, uint32_t refCount) = 0;
    virtual void notifyDestroyed(const IRefCountable* object, uint32_t refCount) = 0;
};

class ILibContext
{
public:
    // the order is the ABI: append only

    TAVO_DESTRUCTOR(ILibContext);

    // The name of the library for log lines. Set once; another name later is refused.
    virtual void setName(const char* name) = 0;

    // Not owned: must outlive the library. Set once, before any object is created.
    virtual void setRefCountableRegistry(IRefCountableRegistry* registry) = 0;
};

} // namespace tavo::sdk
