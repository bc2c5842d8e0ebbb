#include <filesystem>

#include <gtest/gtest.h>

#include "temporary_folder.h"
#include "utils/command.h"
#include "utils/platform_names.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

TEST(Brunmod, namesAModelThatCannotBeLoaded)
{
    const orlix::TemporaryFolder folder;
    std::filesystem::copy(
        TAVO_APPLICATION_DIR "/bin", folder.path("bin"), std::filesystem::copy_options::recursive);
    folder.write("etc/settings.json", R"([{"UUID":"u","Name":"Faces","Filepath":"/none.onnx"}])");
    const auto result = orlix::runCommand(
        '"' + folder.path("bin/") + orlix::kManagerExecutable + "\" -i \"" + folder.path("in") +
        "\" -o \"" + folder.path("out") + '"');
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.output.find("Model Faces cannot be loaded from /none.onnx"), std::string::npos)
        << result.output;
}

} // namespace tavo::devkit
