#include "../test_support.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

TEST(FullDiskLogTest, isToldOnce)
{
    const std::string path = "/dev/full";
    const std::string longerThanAnyBuffer(1 << 17, 'x');
    testing::internal::CaptureStdout();
    log_init(path, path, "", /*console*/ false, /*file*/ true, 1);
    for (int i = 0; i < 10; ++i)
        log_info("%s\n", longerThanAnyBuffer.c_str());
    log_close();
    EXPECT_EQ("Failed to write to log file!\n", testing::internal::GetCapturedStdout());
}

} // namespace tavo::vms_server_plugins::analytics::orlix::test
