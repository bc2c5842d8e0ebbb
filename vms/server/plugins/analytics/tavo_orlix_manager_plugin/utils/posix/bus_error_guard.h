#pragma once

#include <cstddef>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Whoever shares a file with this process may shorten it, and a touch of a page that the file has
// lost is answered with SIGBUS, which ends the process. A write between guardWrite and endGuard
// survives that: the mapping is covered with zero pages of this process's own, the write goes on
// into those, and endGuard says that it was for nothing.
//
// One signal handler for the life of the process does it. It acts when the fault of a thread lies
// in the mapping that this same thread is writing to, and passes everything else on to what was
// there before, the default action included. What it cannot do: a host that sets a handler of its
// own later has the signal until the guard is installed again, and on a thread that blocks SIGBUS
// no handler runs.

// Installs the handler, or again if it is not the one any more. False, with the reason in errno, if
// there can be no guard. Any thread may call.
[[nodiscard]] bool installBusErrorGuard();

// Needs an installed guard. One mapping a thread at a time; costs no system call.
void guardWrite(void* mapping, std::size_t length);

// False if the mapping is lost: it shows zero pages, and the file not any more.
[[nodiscard]] bool endGuard();

} // namespace tavo::vms_server_plugins::analytics::orlix
