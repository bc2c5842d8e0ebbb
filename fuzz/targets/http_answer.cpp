#include <filesystem>
#include <mutex>
#include <string>

#include <testing/scripted_server.h>

#include "fuzz_target.h"
#include "models/model_download.h"
#include "models/orlix_crypto.h"
#include "remote/answer_body.h"
#include "remote/file_downloader.h"
#include "temporary_folder.h"

using namespace tavo::vms_server_plugins::analytics::orlix;
using tavo::network::http::HttpClient;
using tavo::test_support::Connection;
using tavo::test_support::ScriptedServer;

namespace
{

// Either the new pair is there, with the digest that the server told, or the old one, whole.
void checkModel(const std::string& url, std::string_view answer, bool encrypted)
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
void tavo::fuzz::run(std::string_view text)
{
    static std::mutex mutex; // the client may be done with its request while it is still being sent
    static std::string answer;
    static const ScriptedServer server(
        [](Connection& connection)
        {
            static_cast<void>(connection.readRequest());
            const std::lock_guard lock(mutex);
            static_cast<void>(connection.write(answer));
        });
    if (text.empty())
        return;
    {
        const std::lock_guard lock(mutex);
        answer = text.substr(1);
    }
    const std::string url = server.url("/model");
    if (text[0] == 'm' || text[0] == 'e')
        checkModel(url, text.substr(1), text[0] == 'e');
    else if (text[0] == 'f')
        checkFile(url, text.size());
    else
        checkBody(url, text.size());
}
