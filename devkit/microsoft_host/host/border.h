// What the test and its host have of each other. The host is compiled for Microsoft's ABI and the
// test by MinGW: all that they share are plain functions and the SDK's interfaces.
#pragma once

#include <stdint.h>

namespace tavo::sdk
{
class IRefCountable;
}

extern "C" {
// The test's: a condition that does not hold; an operation of the host's that was called. Any
// thread.
void hostFailed(const char* file, int line, const char* condition);
void hostCalled(const char* operation);

// A new object of the host's that is an interface of that id; null for one that hosts do not have.
// Operations that give a text give their own name, and numbers are all different.
tavo::sdk::IRefCountable* makeHostObject(const char* interfaceId);
int livingHostObjects();

// Looks at an object of the library's whose operations give their own names, too; see the cases of
// the test for the numbers.
void hostReads(const char* interfaceId, tavo::sdk::IRefCountable* object);

// The host at work, with one library. A failure of the library's is its code, with its text for the
// test to copy; 0 is none.
bool hostLoads(const char* libraryFile);
int hostObtainsEngine(const char* homeDirectory, const char** text);
void hostServesACamera();
int hostSets(const char* setting, const char* value, const char** text);
void hostEnds(); // whatever there is yet
}
