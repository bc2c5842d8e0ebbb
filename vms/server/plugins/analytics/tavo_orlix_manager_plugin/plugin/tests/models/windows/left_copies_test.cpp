// A host that was killed leaves its decrypted copies there.

#include <gtest/gtest.h>

#include "models/model_manager.h"
#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(LeftCopiesTest, areDeletedByTheNextRunAndNothingElseIs)
{
    const TemporaryFolder folder;
    const ScopedTempPath temporaryFolder(folder.path());
    folder.write("work/orlix_manager/cache/encrypted/net.onnx", "ciphertext");
    folder.write("net.onnx", "plaintext");
    folder.write("other.onnx", "somebody's");
    MessageBoard board;
    const ModelManager models(folder.path("work"), &board);
    EXPECT_TRUE(folder.has("net.onnx")) << "another host may be at work";
    models.deleteLeftCopies();
    EXPECT_FALSE(folder.has("net.onnx"));
    EXPECT_TRUE(folder.has("other.onnx"));
    EXPECT_TRUE(folder.has("work/orlix_manager/cache/encrypted/net.onnx"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
