#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

// Files as streams, with what the C library leaves to the system: descriptors that no child
// inherits, 64-bit positions, and modes. Paths are UTF-8. No state; any thread may call.

namespace tavo::vms_server_plugins::analytics::orlix
{

struct FileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileStream = std::unique_ptr<std::FILE, FileCloser>;

// Null on failure, with the reason in errno. Closed with std::fclose, or by a FileStream.
[[nodiscard]] std::FILE* file_open_read(const char* path);

// Created, or cut to nothing.
[[nodiscard]] std::FILE* file_open_write(const char* path);

// Created, or written on from its end.
[[nodiscard]] std::FILE* file_open_append(const char* path);

// A new file for the owner only, from before the first byte, in place of whatever has that name: a
// file that is there is never opened, and a link never followed. For everything below a folder that
// others can write to. Null, too, if what is there cannot be removed.
[[nodiscard]] std::FILE* file_open_private(const char* path);

// Lets everybody read and write an open file. A failure has no effect.
void file_allow_all(std::FILE* file);

// False on failure.
[[nodiscard]] bool file_seek(std::FILE* file, std::uint64_t position);

// Of an open file, in bytes; 0 on failure.
[[nodiscard]] std::uint64_t file_size(std::FILE* file);

} // namespace tavo::vms_server_plugins::analytics::orlix
