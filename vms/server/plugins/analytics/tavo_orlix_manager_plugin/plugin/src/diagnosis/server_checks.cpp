// Whether storage and cloud can be reached, and whether their certificates are trusted.

#include <chrono>
#include <set>

#include "base/ini.h"
#include "diagnosis/checks.h"
#include "diagnosis/redaction.h"
#include "diagnosis/ways_out.h"
#include "remote/certificates.h"
#include "remote/text_helpers.h"
#include "runtimes/chip.h"
#include "runtimes/manager_installation.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

struct Answer
{
    bool hasCome = false;
    std::string text; // what came when, or why nothing did
};

Answer ask(const std::string& url, network::ssl::CertificateCheck check)
{
    network::http::HttpClient client(check);
    trustConfiguredAuthorities(client);
    client.setAllTimeouts(std::chrono::seconds(ini().HTTPRequestTimeout));
    const auto begun = std::chrono::steady_clock::now();
    if (!client.doGet(Url(url)))
        return {false, client.failure()};
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begun;
    return {
        true,
        " answers " + std::to_string(client.response()->statusLine.statusCode) + " after " +
            std::to_string(static_cast<int>(took.count())) + " ms"};
}

void checkServer(Findings& out, const char* subject, const std::string& url, bool isChecked)
{
    const Answer checked = ask(url, network::ssl::kDefaultCertificateCheck);
    const bool isSecure = url.starts_with("https:");
    const Answer any =
        checked.hasCome || !isSecure ? checked : ask(url, network::ssl::kAcceptAnyCertificate);
    out.add(
        subject,
        Redaction().apply(url) + (any.hasCome ? any.text : "") +
            (checked.hasCome && isSecure ? ", certificate trusted" : ""),
        {{!any.hasCome, Verdict::bad, "could not be reached: " + oneLine(checked.text),
          way_out::kReach},
         {!checked.hasCome, isChecked ? Verdict::bad : Verdict::attention,
          "its certificate is not trusted: " + oneLine(checked.text), way_out::kTrust}});
}

} // namespace

void checkServers(Findings& out)
{
    checkServer(out, "Cloud", ini().CloudAPI, /*isChecked*/ true);
    for (const std::string& url : std::set{managerArchiveUrl(), runtimeStorageUrl()})
        checkServer(out, "Storage", url, ini().verifyCertificates);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
