#include <dlfcn.h>
#include <future>
#include <netdb.h>
#include <string_view>
#include <thread>

#include <gtest/gtest.h>

#include <tavo/network/http/http_client.h>

namespace
{

std::promise<void> g_lookUpBegun;
std::promise<void> g_lookUpMayEnd;
std::promise<void> g_lookUpEnded;

} // namespace

// Takes the place of the system's for the whole program: one name cannot be found for long.
extern "C" [[gnu::visibility("default")]] int getaddrinfo(
    const char* node, const char* service, const addrinfo* hints, addrinfo** result)
{
    if (node && std::string_view(node) == "slow.tavo.example")
    {
        g_lookUpBegun.set_value();
        g_lookUpMayEnd.get_future().wait();
        g_lookUpEnded.set_value_at_thread_exit();
        return EAI_AGAIN;
    }
    const auto system = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return system(node, service, hints, result);
}

namespace tavo::network::http
{

TEST(HttpClient, stopDoesNotWaitForALookUpOfAName)
{
    {
        HttpClient client(ssl::kDefaultCertificateCheck);
        const std::jthread stopper(
            [&client]
            {
                g_lookUpBegun.get_future().wait();
                client.stop();
            });
        EXPECT_FALSE(client.doGet(Url("http://slow.tavo.example/")));
    }
    g_lookUpMayEnd.set_value(); // only now: with a client that waits for it, this hangs
    g_lookUpEnded.get_future().wait();
}

} // namespace tavo::network::http
