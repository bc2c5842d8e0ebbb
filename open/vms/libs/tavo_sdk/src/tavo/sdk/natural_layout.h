// How interfaces are declared where a virtual destructor and a record that is returned are laid out
// alike by host and library: as anywhere in C++. For layout.h of the platforms.
#pragma once

// The first slot of a root interface, and what a class that implements one declares its own with.
#define TAVO_DESTRUCTOR(Interface) virtual ~Interface() = default
#define TAVO_DESTRUCTOR_OVERRIDE(Class) ~Class() override

// An operation that returns a record: in the interface, and in a class that implements it. At most
// one parameter.
#define TAVO_RETURNS(Record, operation, ...) virtual Record operation(__VA_ARGS__) = 0
#define TAVO_RETURNS_CONST(Record, operation) virtual Record operation() const = 0
#define TAVO_RETURNS_OVERRIDE(Record, operation, ...) Record operation(__VA_ARGS__) override
#define TAVO_RETURNS_CONST_OVERRIDE(Record, operation) Record operation() const override
