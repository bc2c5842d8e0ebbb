#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

// Named shared memory segments. A segment is reserved large, so that it can grow under its name and
// inside views that exist, and only what was asked for is committed, that is backed by memory. It
// holds a 4-byte size in machine order, then that many bytes of payload.
//
// The other process is not trusted: every read and write is held against what is committed at that
// moment, since a touch beyond it would end this process. Where what is committed can be taken away
// again, a write survives that too, and says so; elsewhere it stays.
//
// A failed call says so by its value and has logged why; nothing throws. No locks and no state: any
// thread may call, a view and a record belong to one thread at a time. Two threads may write to
// two views.

namespace tavo::vms_server_plugins::analytics::orlix
{

// What is reserved for every segment: 200 MiB. The bound of any payload + 4.
inline constexpr std::size_t kShmReservedSize = 0xC800000;
inline constexpr std::size_t kShmHeaderSize = 4;

inline constexpr char kRandomShmPrefix[] = "Global_RandomSHM_"; // of names that nobody has chosen

using ShmHandle = std::intptr_t; // the system's handle of a segment; 0 is none
inline constexpr ShmHandle kNoShm = 0;

// A plain record: whoever obtained the handle ends it with shm_close.
struct ShmSegment
{
    ShmHandle handle = kNoShm;
    std::string name;
};

// A mapping of a whole segment, ended by its destructor or by shm_detach. It keeps what it needs to
// see the committed size, so the segment's own handle may be closed.
class ShmView
{
public:
    ShmView() = default;
    ~ShmView();
    ShmView(ShmView&& other) noexcept;
    ShmView& operator=(ShmView&& other) noexcept;

    // Null when not attached.
    [[nodiscard]] char* address() const { return m_address; }

    // What can be touched from address() on, as it is now; 0 when not attached. The other side may
    // let it grow at any time.
    [[nodiscard]] std::size_t committedSize() const;

private:
    friend struct ShmCalls; // the platform's

    char* m_address = nullptr;
    std::size_t m_length = 0; // mapped bytes
    ShmHandle m_handle = kNoShm; // the view's own
    std::size_t m_backed = 0; // bytes that were seen to have memory
};

// Creates a segment with a new random name and commits `payloadSize` + 4 bytes. Five names are
// tried. After a failure the record is as far as it came.
void shm_create_random(ShmSegment& segment, std::uint32_t payloadSize);

// The same with the names' numbers from `nextNumber`.
void shm_create_random(
    ShmSegment& segment, std::uint32_t payloadSize,
    const std::function<std::uint32_t()>& nextNumber);

// Creates the segment that `key` and `number` name, or opens the one that is there, and commits
// `payloadSize` + 4 bytes.
void shm_create_named(
    ShmSegment& segment, const std::string& key, int number, std::uint32_t payloadSize);

// Sets the name and leaves the handle.
void shm_from_name(ShmSegment& segment, const std::string& name);

// Obtains the handle of the segment of that name.
bool shm_open(ShmSegment& segment);

[[nodiscard]] bool shm_is_valid(const ShmSegment& segment);

// A read-write view; not attached on failure. A second one is another view of the same bytes.
[[nodiscard]] ShmView shm_attach(const ShmSegment& segment);

[[nodiscard]] bool shm_is_attached(const ShmView& view);

void shm_detach(ShmView& view);

// Closes the handle and keeps the name; views live on. Gives 0, or -1 if there was none.
int shm_close(ShmSegment& segment);

// Ends the name, so that nobody can attach any more; handles and views live on. The creator's duty
// where a name outlives its last handle; elsewhere it does nothing.
void shm_remove(const ShmSegment& segment);

// Commits `payloadSize` + 4 bytes. What is committed stays so: a segment only grows.
[[nodiscard]] bool shm_resize(const ShmSegment& segment, std::uint32_t payloadSize);

// The largest payload that fits now; 0 on failure.
[[nodiscard]] std::size_t shm_size(const ShmSegment& segment);

[[nodiscard]] std::string shm_name(const ShmSegment& segment);

// Stores the size and gives the place of the payload, which the caller fills next and then ends
// with shm_write_end, on the same thread and before it begins another write. Null, with one warning
// and nothing stored, if the payload does not fit what is committed; then there is nothing to end.
[[nodiscard]] char* shm_write_begin(ShmView& view, std::uint32_t size);

// False, with one warning, if the other side has taken memory of the segment away meanwhile: what
// was written is void then. The view can be written to again, unless the system refuses that; it is
// not attached any more then.
[[nodiscard]] bool shm_write_end(ShmView& view);

// Writes size and payload. False, with one warning, if it does not fit what is committed, or that
// is taken away meanwhile.
[[nodiscard]] bool shm_write(const ShmSegment& segment, const void* data, std::uint32_t size);
[[nodiscard]] bool shm_write_attached(ShmView& view, const void* data, std::uint32_t size);

// A read-only view in which `data` and `size` tell the payload; not attached on failure. A size
// word that says more than is committed is cut to that.
[[nodiscard]] ShmView shm_read(const ShmSegment& segment, std::uint32_t& size, const char*& data);

// The payload, valid while the view is; null, with `size` 0, when nothing is committed.
const char* shm_read_attached(const ShmView& view, std::uint32_t& size, const char*& data);

// For a program that gets a segment on its command line; nothing here calls it. Parses a handle
// that was printed with "%p". False, and `handle` unchanged, when it does not
// parse.
[[nodiscard]] bool shm_from_string(const std::string& text, ShmHandle& handle);

} // namespace tavo::vms_server_plugins::analytics::orlix
