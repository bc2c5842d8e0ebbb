#include "remote/file_downloader.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "remote/certificates.h"
#include "remote/file_helpers.h"
#include "remote/stoppable_client.h"
#include "utils/files.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using network::http::HttpClient;

constexpr int kStatusOk = 200;

// 0 when the server does not tell, which is logged.
std::uint64_t contentLength(const network::http::Response& response, const std::string& url)
{
    const std::string text = network::http::getHeaderValue(response.headers, "Content-Length");
    std::uint64_t length{}; // stays so where there is none
    const std::errc error = std::from_chars(text.data(), text.data() + text.size(), length).ec;
    if (error != std::errc{})
    {
        log_info(
            "Warning! Could not get content length of download %s : %s\n", url.c_str(),
            std::make_error_code(error).message().c_str());
    }
    return length;
}

std::string progressText(const std::string& title, std::uint64_t total, std::uint64_t length)
{
    return title + " (" +
        (length != 0
             ? std::to_string(total * 100 / length) + "%)\nPress 'Refresh' to see updated progress."
             : std::to_string(total) + " bytes)\nPress 'Refresh' to see updated progress.");
}

// Removes a board entry when it goes out of scope.
class ScopedEntry
{
public:
    ScopedEntry(MessageBoard& board, const std::string& key) :
        m_board(board),
        m_key(key)
    {}
    ~ScopedEntry() { m_board.removeMessage(m_key); }
    ScopedEntry(const ScopedEntry&) = delete;
    ScopedEntry& operator=(const ScopedEntry&) = delete;

    void post(const std::string& text) { m_board.postMessage(m_key, text, MessageType::message); }

private:
    MessageBoard& m_board;
    const std::string& m_key;
};

} // namespace

Outcome receiveFile(
    HttpClient& client, std::FILE* file, const std::string& path, const TransferFloor& floor,
    const std::function<void(std::uint64_t)>& progress)
{
    std::uint64_t total = 0;
    TransferPace pace(floor);
    while (!client.eof())
    {
        const std::string buffer = client.fetchMessageBodyBuffer();
        total += buffer.size();
        if (std::fwrite(buffer.data(), 1, buffer.size(), file) != buffer.size())
            return Outcome::failedAt(path);
        if (!pace.keepsUp(buffer.size()))
            return Outcome::failed("The download came too slowly.");
        progress(total);
    }
    return std::fflush(file) == 0 ? Outcome() : Outcome::failedAt(path);
}

Outcome downloadFile(
    const std::string& url, const std::string& filePath, MessageBoard& board,
    const std::string& key, const std::string& title, const TransferFloor& floor,
    const std::stop_token& stop)
{
    log_info("Downloading %s to file: %s\n", url.c_str(), filePath.c_str());
    StoppableClient client(downloadCertificateCheck(), stop);
    trustConfiguredAuthorities(client);
    if (!client.doGet(Url(url)))
    {
        log_info("Failed to download file at: %s\n", url.c_str());
        return Outcome::failed(
            "The server of " + url + " could not be reached: " + client.failure() + ".");
    }
    const int statusCode = client.response()->statusLine.statusCode;
    if (statusCode != kStatusOk)
    {
        log_info("Error! Could not request file data! Status code: %d\n", statusCode);
        return Outcome::failed(
            "The server of " + url + " answered with status " + std::to_string(statusCode) + ".");
    }
    FileStream file(file_open_private(filePath.c_str())); // it may lie in the temporary folder
    if (!file)
    {
        Outcome outcome = Outcome::failedAt(filePath);
        log_info("Error opening file for writing: %s\n", filePath.c_str());
        return outcome;
    }
    const std::uint64_t length = contentLength(*client.response(), url);

    ScopedEntry progress(board, key);
    Outcome outcome = receiveFile(
        client, file.get(), filePath, floor,
        [&](std::uint64_t total) { progress.post(progressText(title, total, length)); });
    if (stop.stop_requested())
        outcome = Outcome::failed("This server is shutting down.");
    if (!outcome)
    {
        log_info("Error! Gave up the download of %s: %s\n", url.c_str(), outcome.why().c_str());
        // What there is must not pass for a file that was fetched before.
        file.reset();
        deleteFile(filePath);
    }
    return outcome;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
