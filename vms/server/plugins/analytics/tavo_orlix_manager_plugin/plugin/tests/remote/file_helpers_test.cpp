#include "remote/file_helpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::HasSubstr;

TEST(FileHelpers, WriteReadMeasureAndDelete)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("gr\xC3\xBC\xC3\x9F.bin");
    const std::string bytes("a\0b\r\n\xFF", 6);
    const test::CapturedLog log;

    ASSERT_EQ(0, writeFile(path, bytes.data(), bytes.size()));
    EXPECT_EQ("Writing size: 6\nBytes written: 6\nData written successfully\n", log.text());
    EXPECT_TRUE(fileExists(path));
    EXPECT_EQ(6u, fileSize(path));
    std::size_t size = 0;
    const std::unique_ptr<char[]> buffer = readFile(path, &size);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(bytes, std::string(buffer.get(), size));

    ASSERT_EQ(0, writeFile(path, bytes.data(), 1)); // replaces
    EXPECT_EQ(1u, fileSize(path));
    EXPECT_TRUE(deleteFile(path));
    EXPECT_FALSE(fileExists(path));
    EXPECT_TRUE(deleteFile(path)); // what is not there is no failure
}

TEST(FileHelpers, AnEmptyFileIsReadAsABufferOfNothing)
{
    const TemporaryFolder folder;
    folder.write("empty", "");
    std::size_t size = 99;
    EXPECT_TRUE(readFile(folder.path("empty"), &size));
    EXPECT_EQ(0u, size);
}

TEST(FileHelpers, SayWhatFailed)
{
    const TemporaryFolder folder;
    folder.write("full/file", "x");
    const test::CapturedLog log;
    std::size_t size = 99;

    EXPECT_FALSE(readFile(folder.path("missing"), &size));
    EXPECT_EQ(0u, size);
    EXPECT_EQ(0u, fileSize(folder.path("missing")));
    EXPECT_EQ(1, writeFile(folder.path("missing/file"), "x", 1));
    EXPECT_FALSE(deleteFile(folder.path("full")));
    EXPECT_EQ(
        "Failed to get file size: " + folder.path("missing") +
            "\nWriting size: 1\nError opening file\n" + "Warning! Could not delete file: " +
            folder.path("full") + " (Error: Directory not empty)\n",
        log.text());
}

TEST(FileHelpers, AFullDiskFailsTheWrite)
{
    const test::CapturedLog log;
    EXPECT_EQ(1, writeFile("/dev/full", "x", 1));
    const std::string large(1 << 20, 'x');
    EXPECT_EQ(1, writeFile("/dev/full", large.data(), large.size()));
    EXPECT_THAT(log.text(), HasSubstr("Error writing file\n"));
    EXPECT_THAT(log.text(), ::testing::Not(HasSubstr("successfully")));
}

TEST(FileNameOf, IsWhatStandsBehindTheLastSlash)
{
    EXPECT_EQ("model.onnx", fileNameOf("https://storage.example/a/model.onnx"));
    EXPECT_EQ("model.onnx?v=2", fileNameOf("/model.onnx?v=2"));
    EXPECT_EQ("", fileNameOf("folder/"));
    const test::CapturedLog log;
    EXPECT_EQ("", fileNameOf("C:\\model.onnx"));
    EXPECT_EQ("", fileNameOf(""));
    EXPECT_EQ(
        "Warning! Could not determine model filename: C:\\model.onnx\n"
        "Warning! Could not determine model filename: \n",
        log.text());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
