#pragma once

#include <cstddef>
#include <string>

#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What segments need of the system. A failure leaves its reason in last_system_error().
struct ShmCalls
{
    // A segment of kShmReservedSize with nothing committed. With `mustBeNew` it is a failure if the
    // name is taken, and isNameTaken() tells that one from others.
    [[nodiscard]] static ShmHandle create(const std::string& name, bool mustBeNew);
    [[nodiscard]] static bool isNameTaken(int systemError);

    [[nodiscard]] static ShmHandle open(const std::string& name);

    // Of the whole segment; not attached on failure.
    [[nodiscard]] static ShmView map(ShmHandle handle, bool readOnly);

    // Backs the first `size` bytes with memory.
    [[nodiscard]] static bool commit(const ShmView& view, std::size_t size);

    // True if the first `size` bytes are committed, and can be written to without running out of
    // memory. Every true is followed by endWrite on the same thread.
    [[nodiscard]] static bool beginWrite(ShmView& view, std::size_t size);

    // False if memory of the view was taken away since beginWrite. The view is whole again then, or
    // not attached any more. Always true where what is committed stays so.
    [[nodiscard]] static bool endWrite(ShmView& view);
};

} // namespace tavo::vms_server_plugins::analytics::orlix
