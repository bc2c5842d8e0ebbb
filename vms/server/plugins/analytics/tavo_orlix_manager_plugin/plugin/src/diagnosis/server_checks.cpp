// Whether storage and cloud can be reached, and whether their certificates are trusted.

#include <chrono>
#include <set>

#include "base/ini.h"
#include "diagnosis/checks.h"
#include "diagnosis/redaction.h"
#include "diagnosis/ways_out.h"
#include "remote/certificates.h"
#include "runtimes/chip.h"
#include "runtimes/manager_installation.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Empty when no answer came.
std::string ask(const std::string& url, network::ssl::CertificateCheck check)
{
    network::http::HttpClient client(check);
    trustConfiguredAuthorities(client);
    client.setAllTimeouts(std::chrono::seconds(ini().HTTPRequestTimeout));
    const auto begun = std::chrono::steady_clock::now();
    if (!client.doGet(Url(url)))
        return {};
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begun;
    return " answers " + std::to_string(client.response()->statusLine.statusCode) + " after " +
        std::to_string(static_cast<int>(took.count())) + " ms";
}

void checkServer(Findings& out, const char* subject, const std::string& url, bool isChecked)
{
    std::string answer = ask(url, network::ssl::kDefaultCertificateCheck);
    const bool isTrusted = !answer.empty();
    if (!isTrusted)
        answer = ask(url, network::ssl::kAcceptAnyCertificate);
    const bool isSecure = url.starts_with("https:");
    out.add(
        subject,
        Redaction().apply(url) + answer + (isTrusted && isSecure ? ", certificate trusted" : ""),
        {{answer.empty(), Verdict::bad, "could not be reached", way_out::kReach},
         {!isTrusted, isChecked ? Verdict::bad : Verdict::attention,
          "its certificate is not trusted", way_out::kTrust}});
}

} // namespace

void checkServers(Findings& out)
{
    checkServer(out, "Cloud", ini().CloudAPI, /*isChecked*/ true);
    for (const std::string& url : std::set{managerArchiveUrl(), runtimeStorageUrl()})
        checkServer(out, "Storage", url, ini().verifyCertificates);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
