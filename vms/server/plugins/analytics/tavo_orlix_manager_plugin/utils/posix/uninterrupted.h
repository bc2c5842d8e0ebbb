#pragma once

#include <cerrno>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Repeats a call of the system that a signal has interrupted.
template <class Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
