#include "inference/plugin_socket_claim.h"

#include <atomic>
#include <chrono>
#include <new>
#include <optional>
#include <stop_token>
#include <thread>

#include <gtest/gtest.h>

#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

class PluginSocketClaimTest : public testing::Test
{
protected:
    bool wait(PluginSocketClaim& claim, const std::string& socket)
    {
        return claim.wait(socket, m_stop.get_token(), [this] { ++m_timesAlone; });
    }

    [[nodiscard]] std::string textOnBoard() const
    {
        const auto entries = m_board.snapshot();
        const auto entry = entries.find(board_key::kPluginSocketTaken);
        return entry == entries.end() ? "" : entry->second.text;
    }

    const TemporaryFolder m_folder;
    const std::string m_socket = m_folder.path("plugin.sock");
    const std::string m_lockFile = m_folder.path("plugin.sock.lock");
    test::CapturedLog m_log;
    MessageBoard m_board;
    std::stop_source m_stop;
    std::atomic<int> m_timesAlone{0};
};

TEST_F(PluginSocketClaimTest, TheSecondWaitsAndTakesOverWhenTheFirstEnds)
{
    std::optional<PluginSocketClaim> first(std::in_place, m_board);
    ASSERT_TRUE(wait(*first, m_socket));
    EXPECT_EQ(1, m_timesAlone);
    EXPECT_EQ("", textOnBoard());

    PluginSocketClaim second(m_board);
    std::thread waiting([&] { EXPECT_TRUE(wait(second, m_socket)); });
    EXPECT_TRUE(
        test::comesTrue([&] { return textOnBoard().find(m_lockFile) != std::string::npos; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(1200)); // it asks again, silently
    EXPECT_FALSE(second.isSettled());
    EXPECT_EQ(1, m_timesAlone);
    first.reset();
    waiting.join();
    EXPECT_TRUE(second.isSettled());
    EXPECT_EQ(2, m_timesAlone);
    EXPECT_EQ("", textOnBoard());
    const std::string log = m_log.text();
    EXPECT_EQ(log.find("Adding warning"), log.rfind("Adding warning")) << log;
    EXPECT_NE(std::string::npos, log.find("taken over"));
}

TEST_F(PluginSocketClaimTest, WhatIsThrownCostsOneTry)
{
    PluginSocketClaim claim(m_board);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(claim.wait(
        m_socket, m_stop.get_token(),
        [this]
        {
            if (++m_timesAlone == 1)
                throw std::bad_alloc();
        }));
    EXPECT_EQ(2, m_timesAlone);
    EXPECT_GT(std::chrono::seconds(8), std::chrono::steady_clock::now() - begin);
    EXPECT_NE(std::string::npos, m_log.text().find("Error in listenerLoop: "));
}

TEST_F(PluginSocketClaimTest, WhoIsToldToStopWaitsNoLonger)
{
    PluginSocketClaim first(m_board);
    ASSERT_TRUE(wait(first, m_socket));
    PluginSocketClaim second(m_board);
    std::thread waiting([&] { EXPECT_FALSE(wait(second, m_socket)); });
    EXPECT_TRUE(test::comesTrue([&] { return !textOnBoard().empty(); }));
    m_stop.request_stop();
    waiting.join();
    EXPECT_FALSE(second.isSettled());
    EXPECT_TRUE(m_folder.has("plugin.sock.lock"));
}

TEST_F(PluginSocketClaimTest, WhereThereCanBeNoLockNobodyWaits)
{
    PluginSocketClaim claim(m_board);
    EXPECT_TRUE(wait(claim, m_folder.path("no such folder/plugin.sock")));
    EXPECT_TRUE(claim.isSettled());
    EXPECT_EQ(0, m_timesAlone);
    EXPECT_EQ("", textOnBoard());
    EXPECT_NE(std::string::npos, m_log.text().find("Warning: Could not lock"));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
