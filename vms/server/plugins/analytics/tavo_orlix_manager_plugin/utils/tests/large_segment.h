#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A segment of another program's making, which may be of any size. Gone with the test.
class LargeSegment
{
public:
    // All of `size` can be touched. Throws std::runtime_error.
    explicit LargeSegment(std::size_t size);
    ~LargeSegment();
    LargeSegment(const LargeSegment&) = delete;
    LargeSegment& operator=(const LargeSegment&) = delete;

    const std::string name = uniqueName("large");

private:
    std::intptr_t m_handle;
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
