#include "utils/console.h"

#include <cerrno>

#include <windows.h>

#include "test_support.h"
#include "utils/windows/unique_handle.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(ConsoleTest, aPipeThatIsFullAndDoesNotWaitTakesWhatItCan)
{
    HANDLE ends[2] = {};
    ASSERT_TRUE(CreatePipe(&ends[0], &ends[1], nullptr, 4096));
    const UniqueHandle reading(ends[0]);
    const UniqueHandle writing(ends[1]);
    DWORD mode = PIPE_NOWAIT;
    ASSERT_TRUE(SetNamedPipeHandleState(writing.get(), &mode, nullptr, nullptr));
    const HANDLE former = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, writing.get());
    SetLastError(ERROR_SEEK);
    errno = EDOM;
    console_write(ConsoleStream::output, "begin");
    console_write(ConsoleStream::output, std::string(1'000'000, 'x'));
    EXPECT_EQ(EDOM, errno);
    EXPECT_EQ(DWORD{ERROR_SEEK}, GetLastError());
    SetStdHandle(STD_OUTPUT_HANDLE, former);
    char text[5] = {};
    DWORD count = 0;
    EXPECT_TRUE(ReadFile(reading.get(), text, sizeof text, &count, nullptr));
    EXPECT_EQ("begin", std::string(text, count));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
