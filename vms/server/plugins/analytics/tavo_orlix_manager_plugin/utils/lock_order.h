#pragma once

// The order in which the library's locks are taken, and a check of it. In builds without NDEBUG a
// thread that takes a lock against the order ends the process with a message, before it can wait
// for anybody; in the others nothing is looked at.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Outermost first. Whoever holds one may take those below it, and none beside it.
enum class LockLevel : int
{
    presence, // that of telling the host whether a device has an agent
    request, // the REST client's: one request to the host at a time
    turn, // that of a camera at the exchange with the application
    registry, // the engine's, over its device agents
    settings, // settingsLock()
    pipeline, // an agent's, over its pipelines
    leaf, // whatever is held shortly, with nothing but the log called under it
    log,
};

namespace lock_order
{
#ifdef NDEBUG
inline void taking(LockLevel) {}
inline void released(LockLevel) {}
#else
// This thread is about to take, or has given back, a lock of that level.
void taking(LockLevel level);
void released(LockLevel level);
#endif
} // namespace lock_order

} // namespace tavo::vms_server_plugins::analytics::orlix
