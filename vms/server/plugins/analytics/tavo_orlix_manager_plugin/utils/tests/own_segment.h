#pragma once

#include <string>

#include "test_support.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A segment that is gone with the test.
struct OwnSegment : ShmSegment
{
    explicit OwnSegment(std::uint32_t payloadSize)
    {
        shm_create_named(*this, uniqueName("shm"), 7, payloadSize);
    }
    ~OwnSegment()
    {
        shm_close(*this);
        shm_remove(*this);
    }
    OwnSegment(const OwnSegment&) = delete;
    OwnSegment& operator=(const OwnSegment&) = delete;
};

inline ShmView attachByName(const std::string& name)
{
    ShmSegment segment;
    shm_from_name(segment, name);
    EXPECT_TRUE(shm_open(segment));
    ShmView view = shm_attach(segment);
    EXPECT_EQ(0, shm_close(segment)); // the view lives on
    return view;
}

inline bool write(ShmView& view, const std::string& text)
{
    return shm_write_attached(view, text.data(), static_cast<std::uint32_t>(text.size()));
}

inline std::string readText(const ShmSegment& segment)
{
    std::uint32_t size = 0;
    const char* data = nullptr;
    const ShmView view = shm_read(segment, size, data);
    return shm_is_attached(view) ? std::string(data, size) : "not attached";
}

} // namespace tavo::vms_server_plugins::analytics::orlix::test
