#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// What tests ask of the system and the system under test does not. Paths and texts are UTF-8.

namespace tavo::test_support
{

[[nodiscard]] std::uint32_t ownProcessId();

// Neither gone nor waiting to be collected.
[[nodiscard]] bool isRunning(std::uint32_t process);

void endProcess(std::uint32_t process);

// Of this process's environment. An empty value takes it away.
void setVariable(const std::string& name, const std::string& value);
[[nodiscard]] std::string variable(const std::string& name); // empty if there is none

// Names the folder for temporary files.
extern const char* const kTemporaryFolderVariable;

extern const char kPathListSeparator; // between the folders of PATH

// Whether a program that this process starts may get a descriptor or handle with all others.
[[nodiscard]] bool isInherited(std::intptr_t handle);

// Whether a file that somebody has open can be deleted and its name be used again at once.
extern const bool kOpenFilesCanBeReplaced;

// What this process makes is for everybody unless it says otherwise, as in some hosts, for as long
// as this lives. Nothing changes on a system where the folder decides that.
class OpenToAll
{
public:
    OpenToAll();
    ~OpenToAll();
    OpenToAll(const OpenToAll&) = delete;
    OpenToAll& operator=(const OpenToAll&) = delete;

private:
    const unsigned m_before;
};

// How many descriptors or handles this process has.
[[nodiscard]] std::size_t openHandles();

// Whether there are child processes that it has yet to collect, where a system wants that.
[[nodiscard]] bool hasChildren();

// This process's TCP socket with that port at its own end; -1 if there is none.
[[nodiscard]] std::intptr_t socketAtPort(int port);

// Nobody but this user, and whoever may do everything, has access.
[[nodiscard]] bool isPrivate(const std::string& path);

// What tells a file from another one that had or will have its name; 0 if there is none.
[[nodiscard]] std::uint64_t fileIdentity(const std::string& path);

// Sends bytes as they are; whether all went out.
[[nodiscard]] bool sendBytes(std::uintptr_t socket, const std::string& bytes);

} // namespace tavo::test_support
