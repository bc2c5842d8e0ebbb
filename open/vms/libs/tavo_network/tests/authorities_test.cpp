#include <tavo/network/ssl/authorities.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <ranges>

#include <gtest/gtest.h>

#include "testing/scoped_variable.h"

namespace tavo::network::ssl
{

TEST(AuthoritiesTest, areThoseOfTheEnvironmentElseOfTheFirstPlaceThatHoldsAny)
{
    const test_support::ScopedVariable curls("CURL_CA_BUNDLE", "");
    const test_support::ScopedVariable openSsls("SSL_CERT_FILE", "");
    const std::string root = ::testing::TempDir() + "tavo_authorities_" +
        std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    EXPECT_EQ(authoritiesFile(root), "");
    for (const char* const place : authorityPlaces() | std::views::reverse)
    {
        const std::string path = root + place;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        const std::string before = authoritiesFile(root);
        std::ofstream{path}; // with nothing in it
        EXPECT_EQ(authoritiesFile(root), before);
        std::ofstream(path) << "authority";
        EXPECT_EQ(authoritiesFile(root), path);
    }
    const bool isPosix = std::filesystem::path::preferred_separator == '/';
    EXPECT_EQ(authoritiesFile(root), isPosix ? root + "/etc/ssl/certs/ca-certificates.crt" : "");
    std::filesystem::remove_all(root);
    const test_support::ScopedVariable named("SSL_CERT_FILE", "mine.pem");
    EXPECT_EQ(authoritiesFile(root), "mine.pem");
}

} // namespace tavo::network::ssl
