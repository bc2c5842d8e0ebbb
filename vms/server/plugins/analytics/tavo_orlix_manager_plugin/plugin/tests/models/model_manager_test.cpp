#include "models/model_manager.h"

#include <gtest/gtest.h>

#include "base/ini.h"
#include "http_server.h"
#include "models/model_download.h"
#include "models/orlix_crypto.h"
#include "temporary_folder.h"
#include "utils/json.h"
#include "utils/paths.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kMimeType[] = "application/x-onnx";
constexpr char kHalf[] = "Downloading model: Net (50%)\n"
                         "Click on the 'Refresh' button to see updated progress.";

std::string md5Text(const std::string& body, TemporaryFolder& folder)
{
    folder.write("hashed", body);
    return base64Encode(fileMd5(folder.path("hashed")).value());
}

// A storage that serves one model, and a manager that wants it.
class ModelManagerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ini().modelDownloadSeconds = 1;
        m_digest = "md5=" + md5Text(m_body, m_folder);
        m_server.handlers.Get(
            "/models/net.onnx",
            [this](const httplib::Request& request, httplib::Response& response)
            {
                m_authorization = request.get_header_value("Authorization");
                response.status = m_status;
                if (!m_digest.empty())
                    response.set_header("Content-Digest", m_digest);
                if (!m_key.empty())
                    response.set_header("X-Key", m_key);
                response.set_header("Last-Modified", "Tue, 03 Nov 2026 10:00:00 GMT");
                // May go on when the client has gone, and the test with it.
                response.set_content_provider(
                    m_body.size(), "application/octet-stream",
                    [this, body = m_body.substr(0, m_body.size() - m_missing),
                     inHalves =
                         m_inHalves](std::size_t offset, std::size_t, httplib::DataSink& sink)
                    {
                        if (offset >= body.size())
                            return false; // ends the connection early
                        if (!inHalves)
                            return sink.write(body.data() + offset, body.size() - offset);
                        EXPECT_TRUE(
                            offset == 0 || test::comesTrue([this] { return progress() == kHalf; }));
                        return sink.write(body.data() + offset, body.size() / 2);
                    });
                ++m_requests; // behind all that the test may change once it has its answer
            });
        m_server.start();
    }

    [[nodiscard]] std::string downloads(const std::string& members = {}) const
    {
        return R"([{"RuntimeArchitecture":"application/x-dxnn","Url":"http://other.test/m"},)"
               R"({"RuntimeArchitecture":"application/x-onnx","Url":")" +
            m_server.url("/models/net.onnx") + R"(","Size":)" + std::to_string(m_body.size()) +
            R"(,"LastModified":")" + m_lastModified + "\"" + members + "}]";
    }

    // As the loop does: selects the files, then makes sure of the model.
    bool ensure(const std::string& downloadsText)
    {
        const JsonDocument document = parseJson(downloadsText);
        yyjson_val* const root = yyjson_doc_get_root(document.get());
        m_files = m_manager.selectDownload(root, kMimeType, "model-id");
        const bool downloaded = m_manager.ensureModel(
            root, kMimeType, {"model-id", "Net", "", m_files.modelPath, m_files.keyPath}, "token");
        (void)m_requests.load(); // the server's thread is done with what it read
        return downloaded;
    }

    [[nodiscard]] std::string warning(const std::string& key) const
    {
        return m_board.snapshot()[key].text;
    }

    [[nodiscard]] std::string failure() const
    {
        return warning("DOWNLOAD_MODEL_FAILED_" + m_files.modelPath + ".tmp");
    }

    [[nodiscard]] std::string progress() const { return warning("DOWNLOAD_PROGRESS_STRING"); }

    [[nodiscard]] std::string cached() const
    {
        return m_folder.read("orlix_manager/cache/unencrypted/net.onnx");
    }

    TemporaryFolder m_folder;
    std::string m_body = std::string(300'000, 'm');
    std::string m_digest;
    std::string m_key;
    std::string m_lastModified = "2026-11-03T10:00:00";
    std::size_t m_missing = 0;
    bool m_inHalves = false; // the second is sent once the first is told
    int m_status = 200;
    std::atomic<int> m_requests{0};
    std::string m_authorization;
    LoopbackHttpServer m_server;
    MessageBoard m_board;
    ModelManager m_manager{m_folder.path(), &m_board};
    ModelFiles m_files;
};

} // namespace

TEST_F(ModelManagerTest, fetchesOnceAndAgainWhenTheCloudOrTheDiskChanged)
{
    m_inHalves = true;
    EXPECT_TRUE(ensure(downloads()));
    EXPECT_EQ(m_body, cached());
    EXPECT_EQ("", progress());
    m_inHalves = false;
    EXPECT_EQ("token", m_authorization);
    EXPECT_FALSE(ensure(downloads()));
    EXPECT_EQ(1, m_requests);

    m_lastModified = "2026-11-04T10:00:00"; // the cloud's stamp moved
    EXPECT_TRUE(ensure(downloads()));
    EXPECT_FALSE(ensure(downloads()));
    m_lastModified = "2026-11-02T10:00:00"; // or was taken back
    EXPECT_TRUE(ensure(downloads()));
    EXPECT_FALSE(ensure(downloads()));

    m_lastModified = "2026-11-04T10:00:00";
    EXPECT_TRUE(ensure(downloads()));
    m_folder.write("orlix_manager/cache/unencrypted/net.onnx", "cut");
    m_lastModified = "2026-11-03T10:00:00";
    EXPECT_FALSE(ensure(downloads())) << "metadata from after the file's time: the file is kept";
    std::filesystem::remove(m_files.modelPath);
    EXPECT_TRUE(ensure(downloads()));
    EXPECT_EQ(5, m_requests);

    // A new run knows the file by its size alone.
    ModelManager next(m_folder.path(), &m_board);
    const JsonDocument document = parseJson(downloads());
    EXPECT_FALSE(next.ensureModel(
        yyjson_doc_get_root(document.get()), kMimeType,
        {"model-id", "Net", "", m_files.modelPath, m_files.keyPath}, "token"));
    EXPECT_EQ(5, m_requests);
    EXPECT_TRUE(m_board.snapshot().empty());
}

TEST_F(ModelManagerTest, aFailedDownloadIsToldAndLeavesTheOldFileAndNothingElse)
{
    const test::CapturedLog log;
    const std::string right = m_digest;
    const struct
    {
        const char* name;
        int status;
        std::string digest;
        std::size_t missing;
        const char* text; // in the failure's entry
    } cases[] = {
        {"status", 404, right, 0, " Code: 404 Line: "},
        {"no digest", 200, "", 0, "\nThe answer has no digest."},
        {"wrong digest", 200, "md5=" + base64Encode(Bytes(16, 1)), 0,
         "Model digest in header does not match downloaded file hash. Header: md5="},
        {"short digest", 200, "md5=AAAA", 0,
         "Model digest length in header does not match downloaded file hash length."},
        {"no base64", 200, "md5=!", 0,
         "Model digest length in header does not match downloaded file hash length."},
        {"cut body", 200, right, 1000, "Model digest in header does not match"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        m_folder.write("orlix_manager/cache/unencrypted/net.onnx", "old");
        m_manager.forgetFailedDownloads();
        m_board.clearWarnings();
        m_status = c.status;
        m_digest = c.digest;
        m_missing = c.missing;
        EXPECT_FALSE(ensure(downloads()));
        EXPECT_EQ("old", cached());
        EXPECT_NE(std::string::npos, failure().find(c.text)) << failure();
        const std::string line = failure().substr(0, failure().find('\n'));
        EXPECT_NE(std::string::npos, log.text().find("Error! " + line));
        EXPECT_EQ(
            c.missing != 0, failure().ends_with(". The connection ended before the file did."));
        EXPECT_FALSE(std::filesystem::exists(m_files.modelPath + ".tmp"));
        EXPECT_EQ("", progress());

        const int before = m_requests;
        EXPECT_FALSE(ensure(downloads()));
        EXPECT_EQ(before, m_requests) << "a model that failed is left alone";
    }

    m_manager.forgetFailedDownloads();
    m_missing = 0;
    m_digest = "sha-256=x";
    m_folder.write("orlix_manager/cache/unencrypted/net.onnx", "old");
    EXPECT_FALSE(ensure(downloads()));
    EXPECT_EQ(
        "Model file content digest format unknown: sha-256=x",
        warning("DOWNLOAD_MODEL_FAILED_" + m_files.modelPath));

    m_manager.forgetFailedDownloads();
    m_digest = "md5=:" + right.substr(4) + ":"; // as its standard writes it
    EXPECT_TRUE(ensure(downloads()));
    EXPECT_EQ("", warning("DOWNLOAD_MODEL_FAILED_" + m_files.modelPath));
}

TEST_F(ModelManagerTest, theKeyOfAnEncryptedModelIsForItsOwnerOnly)
{
    const std::string encrypted = R"(,"Encrypted":true)";
    EXPECT_FALSE(ensure(downloads(encrypted))) << "no key";
    EXPECT_TRUE(failure().ends_with("\nThe model is encrypted, and the answer has no key for it."));
    m_key = "no base64";
    m_manager.forgetFailedDownloads();
    EXPECT_FALSE(ensure(downloads(encrypted)));

    m_key = base64Encode(Bytes(32, 7));
    m_manager.forgetFailedDownloads();
    EXPECT_TRUE(ensure(downloads(encrypted)));
    std::filesystem::remove(m_files.keyPath);
    EXPECT_TRUE(ensure(downloads(encrypted))) << "a lost key comes with its model";
    EXPECT_TRUE(std::filesystem::exists(m_files.keyPath));
    EXPECT_EQ(
        path_join(m_folder.path("orlix_manager/cache/encrypted"), "net.onnx"), m_files.modelPath);
    EXPECT_EQ(std::filesystem::temp_directory_path() / "net.onnx", m_files.runtimePath);
    EXPECT_EQ(std::string(32, 7) + '\0', m_folder.read("orlix_manager/cache/keys/model-id.tvc"));
    EXPECT_TRUE(test_support::isPrivate(m_files.keyPath));
}

TEST_F(ModelManagerTest, keyAndBodyComeTogetherOrNotAtAll)
{
    const std::string encrypted = R"(,"Encrypted":true)";
    const std::string oldKey = std::string(32, 1) + '\0';
    const std::string newKey = std::string(32, 2) + '\0';
    const auto key = [&] { return m_folder.read("orlix_manager/cache/keys/model-id.tvc"); };
    const auto body = [&] { return m_folder.read("orlix_manager/cache/encrypted/net.onnx"); };
    const auto nothingIsLeft = [&]
    {
        return !std::filesystem::exists(m_files.modelPath + ".tmp") &&
            !std::filesystem::exists(m_files.keyPath + ".tmp");
    };
    m_key = base64Encode(Bytes(32, 1));
    ASSERT_TRUE(ensure(downloads(encrypted)));
    const std::string oldBody = body();

    m_key = base64Encode(Bytes(32, 2));
    std::filesystem::remove(m_files.modelPath); // the update cannot be moved to its place
    std::filesystem::create_directories(m_files.modelPath + "/in the way");
    EXPECT_FALSE(ensure(downloads(encrypted)));
    EXPECT_TRUE(failure().starts_with("Failed to rename file "));
    EXPECT_EQ(oldKey, key());
    EXPECT_TRUE(nothingIsLeft());
    std::filesystem::remove_all(m_files.modelPath);
    m_folder.write("orlix_manager/cache/encrypted/net.onnx", oldBody);

    m_manager.forgetFailedDownloads();
    m_missing = 1000; // the update breaks off
    m_lastModified = "2026-11-04T10:00:00";
    EXPECT_FALSE(ensure(downloads(encrypted)));
    EXPECT_EQ(oldKey, key());
    EXPECT_EQ(oldBody, body());
    EXPECT_TRUE(nothingIsLeft());

    m_missing = 0; // the key cannot be kept
    m_manager.forgetFailedDownloads();
    m_lastModified = "2026-11-05T10:00:00";
    std::filesystem::create_directories(m_files.keyPath + ".tmp/x");
    EXPECT_FALSE(ensure(downloads(encrypted)));
    EXPECT_EQ(oldKey, key());
    EXPECT_FALSE(std::filesystem::exists(m_files.modelPath + ".tmp"));
    std::filesystem::remove_all(m_files.keyPath + ".tmp");

    m_manager.forgetFailedDownloads();
    m_lastModified = "2026-11-06T10:00:00";
    EXPECT_TRUE(ensure(downloads(encrypted)));
    EXPECT_EQ(newKey, key());
    EXPECT_TRUE(nothingIsLeft());

    // A process that died between the two moves, and one that died before them.
    m_folder.write("orlix_manager/cache/keys/model-id.tvc.tmp", oldKey);
    EXPECT_FALSE(ensure(downloads(encrypted)));
    EXPECT_EQ(oldKey, key());
    m_folder.write("orlix_manager/cache/keys/model-id.tvc.tmp", newKey);
    m_folder.write("orlix_manager/cache/encrypted/net.onnx.tmp", "whole or not");
    EXPECT_FALSE(ensure(downloads(encrypted)));
    EXPECT_EQ(oldKey, key());
    EXPECT_FALSE(std::filesystem::exists(m_files.keyPath + ".tmp"));
}

TEST_F(ModelManagerTest, aServerThatTricklesIsLeftAndAnErrorsBodyIsShownInPart)
{
    m_server.trickle("/slow");
    m_server.failAtLength("/error");
    ModelDownload download;
    download.modelPath = m_folder.path("net");
    download.expectedSize = 1;
    download.floor = {1024, std::chrono::milliseconds(100)};
    std::optional<std::time_t> time;
    const auto told = [&] { return warning("DOWNLOAD_MODEL_FAILED_" + m_folder.path("net.tmp")); };
    download.url = m_server.url("/slow");
    EXPECT_FALSE(downloadModel(download, m_board, &time));
    EXPECT_FALSE(m_folder.has("net.tmp"));
    EXPECT_TRUE(told().ends_with(" The download came too slowly.")) << told();
    download.url = m_server.url("/error");
    EXPECT_FALSE(downloadModel(download, m_board, &time));
    EXPECT_TRUE(told().ends_with(" Body: " + std::string(1024, 'a')));
}

TEST_F(ModelManagerTest, aCertificateIsCheckedWhereTheIniFileSaysSo)
{
    const TestCertificate certificate;
    LoopbackHttpsServer server(certificate);
    server.handlers.Get(
        "/net",
        [this](const httplib::Request&, httplib::Response& response)
        {
            response.set_header("Content-Digest", m_digest);
            response.set_content(m_body, "application/octet-stream");
        });
    server.start();
    const std::string bundle = certificate.caFile();
    ModelDownload download;
    download.url = server.url("/net");
    download.modelPath = m_folder.path("net");
    download.expectedSize = m_body.size();
    const struct
    {
        bool verifies;
        const char* bundle;
        bool accepted;
    } cases[] = {{false, "", true}, {true, "", false}, {true, bundle.c_str(), true}};
    for (const auto& c : cases)
    {
        std::filesystem::remove(m_folder.path("net"));
        ini().verifyCertificates = c.verifies;
        ini().caBundle = c.bundle;
        std::optional<std::time_t> time;
        EXPECT_EQ(c.accepted, downloadModel(download, m_board, &time));
        EXPECT_EQ(c.accepted ? m_body : "", m_folder.read("net"));
    }
    ini().verifyCertificates = false;
    ini().caBundle = "";
}

TEST_F(ModelManagerTest, offersThatMakeNoSenseAreToldApart)
{
    const test::CapturedLog log;
    const std::string dead = "http://127.0.0.1:1/net.onnx";
    const std::string url = m_server.url("/models/net.onnx");
    const auto offer = [](const std::string& from, const std::string& rest) {
        return R"([{"RuntimeArchitecture":"application/x-onnx","Url":")" + from + "\"" + rest +
            "}]";
    };
    EXPECT_FALSE(ensure(offer(dead, R"(,"LastModified":"2026-11-03T10:00:00","Size":5)")));
    EXPECT_TRUE(failure().starts_with(
        "Failed to download model from:" + dead +
        "\nCouldn't get a response. The connection failed: Failed to connect to 127.0.0.1 port 1"))
        << failure();
    m_manager.forgetFailedDownloads();
    EXPECT_FALSE(ensure(offer(url, R"(,"LastModified":"yesterday","Size":3)")));
    EXPECT_FALSE(ensure(offer(url, R"(,"LastModified":"2026-11-03T10:00:00")")));
    EXPECT_EQ(
        "Failed to download model from : " + url,
        warning("DOWNLOAD_MODEL_FAILED_" + m_files.modelPath));
    EXPECT_NE(std::string::npos, log.text().find("Warning! Download has no filesize: " + url));
    EXPECT_FALSE(ensure(offer(url, R"(,"LastModified":"2026-11-03T10:00:00","Size":"3")")));

    for (const char* const none :
         {R"([{"RuntimeArchitecture":"application/x-onnx","Url":"http://x/a\u0000b"}])",
          R"([{"RuntimeArchitecture":"application/x-onnx","Url":"http://x/..\\b"}])"})
    {
        EXPECT_FALSE(ensure(none));
        EXPECT_EQ("", m_files.modelPath);
    }
    for (const char* const none :
         {"[]", "{}", "3", R"([{"RuntimeArchitecture":"other"}, 7, null])"})
    {
        SCOPED_TRACE(none);
        EXPECT_FALSE(ensure(none));
        EXPECT_EQ("", m_files.runtimePath);
        EXPECT_EQ(
            "Model Net is not compatible with this runtime: application/x-onnx",
            warning("NO_COMPATIBLE_RUNTIME_model-id"));
    }
    m_manager.keepReports({});
    EXPECT_EQ("", warning("NO_COMPATIBLE_RUNTIME_model-id"));
    EXPECT_FALSE(ensure("[]"));
    m_manager.keepReports({"model-id"});
    EXPECT_NE("", warning("NO_COMPATIBLE_RUNTIME_model-id"));
    EXPECT_TRUE(ensure(downloads()));
    EXPECT_EQ("", warning("NO_COMPATIBLE_RUNTIME_model-id"));
    EXPECT_EQ(1, m_requests);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
