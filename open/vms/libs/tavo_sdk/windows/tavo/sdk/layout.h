// The one layout that the interfaces have on Windows, whoever compiles. Servers there are built by
// Microsoft's compiler and this library by MinGW. Under single inheritance on 64 bits the two lay
// out everything alike but two things, for which Microsoft's way holds:
//
// - A virtual destructor has one slot, where GCC takes two. The function in it gets flags, the
//   lowest of which says that the object's memory is to be freed as well, and gives the object's
//   address.
// - A record that an operation returns is written to where a hidden pointer says. That pointer is
//   passed after `this`, where GCC passes it before, and is what the operation gives back in the
//   register.
//
// MinGW is therefore told of both as what they are: ordinary functions with ordinary parameters. To
// whoever calls or implements an interface in C++ it looks as with any other compiler.
#pragma once

#if !defined(__MINGW32__)

#include <tavo/sdk/natural_layout.h>

#else

// Interfaces have a destructor in their table and none that this compiler knows of. The other
// platforms' builds look for those that are missing.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

#define TAVO_DESTRUCTOR(Interface) virtual void* deletingDestructor(unsigned flags) = 0

#define TAVO_DESTRUCTOR_OVERRIDE(Class)                                                            \
    void* deletingDestructor(unsigned flags) override                                              \
    {                                                                                              \
        if (flags & 1)                                                                             \
            delete this;                                                                           \
        else                                                                                       \
            this->~Class();                                                                        \
        return this;                                                                               \
    }                                                                                              \
    virtual ~Class()

// `operationInto` is the slot. In an interface `operation` calls it; in a class that implements the
// interface it is the other way round.
#define TAVO_RETURNS_QUALIFIED(Record, operation, qualifier, ...)                                  \
    template <class... Arguments>                                                                  \
    Record operation(Arguments... arguments) qualifier                                             \
    {                                                                                              \
        Record result;                                                                             \
        return *operation##Into(&result, arguments...);                                            \
    }                                                                                              \
    virtual Record* operation##Into(Record* result __VA_OPT__(, ) __VA_ARGS__) qualifier = 0

#define TAVO_OVERRIDE_QUALIFIED(Record, operation, qualifier, ...)                                 \
    Record* operation##Into(Record* result __VA_OPT__(, __VA_ARGS__ argument)) qualifier override  \
    {                                                                                              \
        *result = operation(__VA_OPT__(argument));                                                 \
        return result;                                                                             \
    }                                                                                              \
    virtual Record operation(__VA_ARGS__) qualifier

#define TAVO_RETURNS(Record, operation, ...)                                                       \
    TAVO_RETURNS_QUALIFIED(Record, operation, , __VA_ARGS__)
#define TAVO_RETURNS_CONST(Record, operation) TAVO_RETURNS_QUALIFIED(Record, operation, const)
#define TAVO_RETURNS_OVERRIDE(Record, operation, ...)                                              \
    TAVO_OVERRIDE_QUALIFIED(Record, operation, , __VA_ARGS__)
#define TAVO_RETURNS_CONST_OVERRIDE(Record, operation)                                             \
    TAVO_OVERRIDE_QUALIFIED(Record, operation, const)

#endif
