#include "posix/small_disk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "encrypted_model.h"
#include "http_server.h"
#include "models/model_download.h"
#include "models/orlix_crypto.h"
#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(SmallDiskForModels, isToldByTheReasonBehindTheText)
{
    const TemporaryFolder folder;
    const std::string file = folder.path("cache/net.tmp");
    const struct
    {
        const char* options;
        const char* text;
        std::string why;
    } cases[] = {
        {"size=64k", "Model digest in header does not match downloaded file hash. Header: md5=",
         ". There is no room left on the disk of " + file + "."},
        {"ro", "Failed to rename file ", ". The disk of " + file + " is read-only."},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.options);
        const SmallDisk disk(folder.path("cache"), c.options);
        if (!disk.isThere())
            GTEST_SKIP() << kNoSmallDisk;
        LoopbackHttpServer server;
        server.handlers.Get(
            "/net",
            [](const httplib::Request&, httplib::Response& response)
            {
                response.set_header("Content-Digest", "md5=AAAAAAAAAAAAAAAAAAAAAA==");
                response.set_content(std::string(300'000, 'm'), "application/octet-stream");
            });
        server.start();
        ModelDownload download;
        download.url = server.url("/net");
        download.modelPath = folder.path("cache/net");
        download.expectedSize = 300'000;
        MessageBoard board;
        std::optional<std::time_t> time;
        EXPECT_FALSE(downloadModel(download, board, &time));
        const std::string told = board.snapshot()["DOWNLOAD_MODEL_FAILED_" + file].text;
        EXPECT_THAT(told, ::testing::StartsWith(c.text));
        EXPECT_THAT(told, ::testing::EndsWith(c.why));
    }
}

TEST(SmallDiskForModels, endsADecryptionWhoseLastBytesAreStillToBeWritten)
{
    const TemporaryFolder folder;
    const std::string key(32, 'k');
    for (const std::size_t size : {1, 200'000})
    {
        folder.write("model.enc", test::encryptedModel(std::string(size, 'm'), key));
        std::FILE* const full = std::fopen("/dev/full", "wb");
        const Outcome end = decryptModelFile(key, folder.path("model.enc"), "full", full);
        std::fclose(full);
        EXPECT_EQ("There is no room left on the disk of full.", end.why());
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
