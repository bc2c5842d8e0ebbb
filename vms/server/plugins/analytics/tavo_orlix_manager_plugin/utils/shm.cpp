#include "utils/shm.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

#include "utils/clock.h"
#include "utils/handle_text.h"
#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/shm_calls.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr int kRandomNames = 5; // attempts

// The size word is the other side's: it is held against what is committed.
const char* payloadOf(const ShmView& view, std::uint32_t& size, const char*& data)
{
    size = 0;
    data = nullptr;
    const std::size_t committed = view.committedSize();
    if (committed < kShmHeaderSize)
        return nullptr;
    std::memcpy(&size, view.address(), kShmHeaderSize);
    size = static_cast<std::uint32_t>(std::min<std::size_t>(size, committed - kShmHeaderSize));
    data = view.address() + kShmHeaderSize;
    return data;
}

} // namespace

ShmView::ShmView(ShmView&& other) noexcept :
    m_address(std::exchange(other.m_address, nullptr)),
    m_length(std::exchange(other.m_length, 0)),
    m_handle(std::exchange(other.m_handle, kNoShm)),
    m_backed(std::exchange(other.m_backed, 0))
{}

ShmView& ShmView::operator=(ShmView&& other) noexcept
{
    // What this view held ends with `other`.
    std::swap(m_address, other.m_address);
    std::swap(m_length, other.m_length);
    std::swap(m_handle, other.m_handle);
    std::swap(m_backed, other.m_backed);
    return *this;
}

void shm_create_random(ShmSegment& segment, std::uint32_t payloadSize)
{
    // Not rand(), whose sequence is the host's.
    std::minstd_rand numbers(static_cast<std::uint32_t>(time_now_us()));
    shm_create_random(
        segment, payloadSize, [&numbers] { return static_cast<std::uint32_t>(numbers()); });
}

void shm_create_random(
    ShmSegment& segment, std::uint32_t payloadSize,
    const std::function<std::uint32_t()>& nextNumber)
{
    segment = {};
    for (int attempt = 0; attempt < kRandomNames; ++attempt)
    {
        segment.name = log_format_alloc(64, "%s%08X", kRandomShmPrefix, nextNumber());
        segment.handle = ShmCalls::create(segment.name, /*mustBeNew*/ true);
        if (shm_is_valid(segment))
            break;
        const int error = last_system_error();
        if (!ShmCalls::isNameTaken(error))
        {
            log_info("Warning: Could not create SHM: %s\n", SystemErrorText(error).c_str());
            break;
        }
        log_info("SHM with key %s already exists. Trying again...\n", segment.name.c_str());
    }
    static_cast<void>(shm_resize(segment, payloadSize)); // the record tells how far it came
}

void shm_create_named(
    ShmSegment& segment, const std::string& key, int number, std::uint32_t payloadSize)
{
    segment = {};
    segment.name = log_format_alloc(260, R"(\\\.\Global\SHM_%s_%d)", key.c_str(), number);
    segment.handle = ShmCalls::create(segment.name, /*mustBeNew*/ false);
    if (!shm_is_valid(segment))
    {
        log_info(
            "Warning: Could not create SHM: %s\n", SystemErrorText(last_system_error()).c_str());
    }
    static_cast<void>(shm_resize(segment, payloadSize));
}

void shm_from_name(ShmSegment& segment, const std::string& name)
{
    segment.name = name;
}

bool shm_open(ShmSegment& segment)
{
    segment.handle = ShmCalls::open(segment.name);
    if (shm_is_valid(segment))
        return true;
    const SystemErrorText error(last_system_error());
    log_warning("", "Warning: Could not get SHM ID: %.*s\n", error.length(), error.c_str());
    return false;
}

bool shm_is_valid(const ShmSegment& segment)
{
    return segment.handle != kNoShm;
}

ShmView shm_attach(const ShmSegment& segment)
{
    ShmView view = ShmCalls::map(segment.handle, /*readOnly*/ false);
    if (!shm_is_attached(view))
    {
        const SystemErrorText error(last_system_error());
        log_warning(
            "", "Warning: Could not attach shared memory: %.*s\n", error.length(), error.c_str());
    }
    return view;
}

bool shm_is_attached(const ShmView& view)
{
    return view.address() != nullptr;
}

void shm_detach(ShmView& view)
{
    const ShmView ended = std::move(view);
}

bool shm_resize(const ShmSegment& segment, std::uint32_t payloadSize)
{
    const ShmView view = shm_attach(segment);
    if (!shm_is_attached(view))
        return false;
    if (ShmCalls::commit(view, payloadSize + kShmHeaderSize))
        return true;
    const SystemErrorText error(last_system_error());
    log_info("Error: Could not realloc shared memory: %.*s\n", error.length(), error.c_str());
    return false;
}

std::size_t shm_size(const ShmSegment& segment)
{
    const std::size_t committed = ShmCalls::map(segment.handle, /*readOnly*/ true).committedSize();
    return committed < kShmHeaderSize ? 0 : committed - kShmHeaderSize;
}

std::string shm_name(const ShmSegment& segment)
{
    return segment.name;
}

char* shm_write_begin(ShmView& view, std::uint32_t size)
{
    if (!ShmCalls::beginWrite(view, size + kShmHeaderSize))
    {
        log_warning(
            "", "Warning: A message of %u bytes does not fit the shared memory. Ignoring it.\n",
            size);
        return nullptr;
    }
    std::memcpy(view.address(), &size, kShmHeaderSize);
    return view.address() + kShmHeaderSize;
}

bool shm_write_end(ShmView& view)
{
    if (ShmCalls::endWrite(view))
        return true;
    log_warning(
        "",
        "Warning: Shared memory was taken away while it was written to. Ignoring the "
        "message.\n");
    return false;
}

bool shm_write(const ShmSegment& segment, const void* data, std::uint32_t size)
{
    ShmView view = ShmCalls::map(segment.handle, /*readOnly*/ false);
    if (!shm_is_attached(view))
    {
        const SystemErrorText error(last_system_error());
        log_info(
            "Warning: Could not obtain shared memory for writing: %.*s\n", error.length(),
            error.c_str());
        return false;
    }
    return shm_write_attached(view, data, size);
}

bool shm_write_attached(ShmView& view, const void* data, std::uint32_t size)
{
    char* const payload = shm_write_begin(view, size);
    if (!payload)
        return false;
    std::memcpy(payload, data, size);
    return shm_write_end(view);
}

ShmView shm_read(const ShmSegment& segment, std::uint32_t& size, const char*& data)
{
    ShmView view = ShmCalls::map(segment.handle, /*readOnly*/ true);
    const SystemErrorText error(last_system_error());
    if (payloadOf(view, size, data))
        return view;
    if (!shm_is_attached(view))
        log_info("Warning: Could not read shared memory: %.*s\n", error.length(), error.c_str());
    else
        log_info("Warning: Could not read shared memory: nothing is committed\n");
    return {};
}

const char* shm_read_attached(const ShmView& view, std::uint32_t& size, const char*& data)
{
    return payloadOf(view, size, data);
}

bool shm_from_string(const std::string& text, ShmHandle& handle)
{
    return handle_from_string(text, handle);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
