#include <gtest/gtest.h>

#include "remote/file_helpers.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(FullDisk, AFileThatItDoesNotTakeIsNotWritten)
{
    const test::CapturedLog log;
    for (const std::size_t size : {1, 1 << 20})
        EXPECT_NE(0, writeFile("/dev/full", std::string(size, 'x').data(), size));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
