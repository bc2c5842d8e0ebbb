// What OpenSSL keeps for a thread goes with the thread.

#include <filesystem>
#include <thread>

#include <malloc.h>
#include <windows.h>

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Of the heap that this program and its libraries share.
int allocatedBlocks()
{
    int blocks = 0;
    _HEAPINFO entry{};
    while (_heapwalk(&entry) == _HEAPOK)
        blocks += entry._useflag == _USEDENTRY ? 1 : 0;
    return blocks;
}

} // namespace

TEST(ThreadEndTest, leavesNothingOfOpenSslBehind)
{
    constexpr int kThreads = 50;
    const HMODULE library =
        LoadLibraryW(std::filesystem::path(TAVO_OPENSSL_USER).make_preferred().c_str());
    ASSERT_TRUE(library);
    const auto use =
        reinterpret_cast<int (*)()>(reinterpret_cast<void*>(GetProcAddress(library, "useOpenSsl")));
    ASSERT_TRUE(use);
    const auto useInThread = [use] { std::thread([use] { EXPECT_EQ(1, use()); }).join(); };
    for (int i = 0; i < 3; ++i) // what there is once
        useInThread();
    const int before = allocatedBlocks();
    ASSERT_LT(0, before); // else the heap cannot be looked through
    for (int i = 0; i < kThreads; ++i)
        useInThread();
    EXPECT_GT(before + kThreads, allocatedBlocks());
    FreeLibrary(library);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
