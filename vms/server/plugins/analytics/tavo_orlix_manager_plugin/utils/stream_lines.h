#pragma once

#include <cstddef>

namespace tavo::vms_server_plugins::analytics::orlix
{

inline constexpr std::size_t kCacheLine = 64; // bytes

// Whether the processor has stores that go past its caches. Without them stream_lines is memcpy.
[[nodiscard]] bool can_stream();

// Copies whole cache lines past this processor's caches. `target` is at the start of one; the
// source is anywhere else. Other threads see the lines once end_stream was called and this thread
// released what they acquire.
void stream_lines(char* target, const char* source, std::size_t lines);

void end_stream();

} // namespace tavo::vms_server_plugins::analytics::orlix
