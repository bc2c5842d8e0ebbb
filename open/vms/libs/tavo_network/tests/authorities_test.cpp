#include <tavo/network/ssl/authorities.h>

#include <filesystem>
#include <ranges>

#include <gtest/gtest.h>

#include <testing/scoped_variable.h>
#include <testing/temporary_folder.h>

namespace tavo::network::ssl
{

TEST(AuthoritiesTest, areThoseOfTheEnvironmentElseOfTheFirstPlaceThatHoldsAny)
{
    const test_support::ScopedVariable curls("CURL_CA_BUNDLE", "");
    const test_support::ScopedVariable openSsls("SSL_CERT_FILE", "");
    const test_support::TemporaryFolder folder;
    const std::string& root = folder.path();
    EXPECT_EQ(authoritiesFile(root), "");
    for (const char* const place : authorityPlaces() | std::views::reverse)
    {
        const std::string path = root + place;
        const std::string before = authoritiesFile(root);
        folder.write(place + 1, ""); // with nothing in it
        EXPECT_EQ(authoritiesFile(root), before);
        folder.write(place + 1, "x");
        EXPECT_EQ(authoritiesFile(root), path);
    }
    const bool isPosix = std::filesystem::path::preferred_separator == '/';
    EXPECT_EQ(authoritiesFile(root), isPosix ? root + "/etc/ssl/certs/ca-certificates.crt" : "");
    const test_support::ScopedVariable named("SSL_CERT_FILE", "mine.pem");
    EXPECT_EQ(authoritiesFile(root), "mine.pem");
}

} // namespace tavo::network::ssl
