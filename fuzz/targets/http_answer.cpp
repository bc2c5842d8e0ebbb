#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

#include <testing/loopback_socket.h>

#include "fuzz_target.h"
#include "models/model_download.h"
#include "models/orlix_crypto.h"
#include "remote/answer_body.h"
#include "remote/file_downloader.h"
#include "temporary_folder.h"

using namespace tavo::vms_server_plugins::analytics::orlix;
using tavo::network::http::HttpClient;
using tavo::test_support::LoopbackSocket;

namespace
{

// Answers every request with the same bytes, and closes.
class Server
{
public:
    void setAnswer(std::string answer)
    {
        const std::lock_guard lock(m_mutex);
        m_answer = std::move(answer);
    }

    [[nodiscard]] std::string url() const
    {
        return "http://127.0.0.1:" + std::to_string(m_listener.port()) + "/model";
    }

private:
    void run(const std::stop_token& stop)
    {
        while (!stop.stop_requested())
        {
            if (LoopbackSocket peer = m_listener.accept(100))
            {
                readRequest(peer);
                static_cast<void>(peer.send(answer()));
            }
        }
    }

    // A copy: the client may be done with its request while it is still being sent.
    std::string answer()
    {
        const std::lock_guard lock(m_mutex);
        return m_answer;
    }

    static void readRequest(LoopbackSocket& peer)
    {
        std::string request;
        char block[4096];
        while (request.find("\r\n\r\n") == std::string::npos)
        {
            const std::size_t count = peer.receive(block, sizeof block);
            if (count == 0)
                return;
            request.append(block, count);
        }
    }

    std::mutex m_mutex;
    std::string m_answer;
    LoopbackSocket m_listener = LoopbackSocket::listening();
    std::jthread m_thread{[this](const std::stop_token& stop) { run(stop); }};
};

// Either the new pair is there, with the digest that the server told, or the old one, whole.
void checkModel(const std::string& url, const std::string& answer, bool encrypted)
{
    static const TemporaryFolder folder;
    folder.write("model", "old model");
    folder.write("key", "old key");
    ModelDownload download;
    download.url = url;
    download.modelPath = folder.path("model");
    download.keyPath = folder.path("key");
    download.encrypted = encrypted;
    download.expectedSize = 9;
    MessageBoard board;
    std::optional<std::time_t> lastModified;
    const bool done = downloadModel(download, board, &lastModified);

    FUZZ_CHECK(!folder.has("model.tmp") && !folder.has("key.tmp"));
    FUZZ_CHECK(board.snapshot().count(board_key::kModelDownloadProgress) == 0);
    if (!done)
    {
        FUZZ_CHECK(folder.read("model") == "old model" && folder.read("key") == "old key");
        return;
    }
    // The last character before the padding has bits to spare, which a server may set.
    const std::string digest = base64Encode(*fileMd5(folder.path("model")));
    FUZZ_CHECK(answer.find(digest.substr(0, 21)) != std::string::npos);
    FUZZ_CHECK(encrypted ? !folder.read("key").empty() : folder.read("key") == "old key");
}

void checkFile(const std::string& url, std::size_t size)
{
    static const TemporaryFolder folder;
    std::filesystem::remove(folder.path("file"));
    MessageBoard board;
    const auto done =
        static_cast<bool>(downloadFile(url, folder.path("file"), board, "key", "title"));
    FUZZ_CHECK(board.snapshot().empty());
    FUZZ_CHECK(done == folder.has("file"));
    FUZZ_CHECK(folder.read("file").size() <= size);
}

void checkBody(const std::string& url, std::size_t size)
{
    HttpClient client(tavo::network::ssl::kAcceptAnyCertificate);
    if (!client.doGet(url))
        return;
    if (client.response()->statusLine.statusCode != 200)
    {
        FUZZ_CHECK(fetchBodyExcerpt(client).size() <= 1024);
        return;
    }
    const auto body = fetchBody(client);
    FUZZ_CHECK(!body || body->size() <= size);
}

} // namespace

// Whatever a server answers, over a real connection. The first byte says what was asked for: "m" a
// model, "e" an encrypted one, "f" a file, anything else a text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Server server;
    if (size == 0)
        return 0;
    const std::string answer(tavo::fuzz::asText(data + 1, size - 1));
    server.setAnswer(answer);
    switch (data[0])
    {
        case 'm':
        case 'e':
            checkModel(server.url(), answer, data[0] == 'e');
            break;
        case 'f':
            checkFile(server.url(), size);
            break;
        default:
            checkBody(server.url(), size);
    }
    return 0;
}
