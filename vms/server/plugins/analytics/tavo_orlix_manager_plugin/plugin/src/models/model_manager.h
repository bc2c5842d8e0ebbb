#pragma once

#include <ctime>
#include <string>
#include <unordered_map>
#include <vector>

#include <yyjson.h>

#include "core/message_board.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Where a model's files lie; all texts are empty when no download fits the runtime.
struct ModelFiles
{
    bool encrypted = false;
    std::string runtimePath; // the file that the manager application loads
    std::string keyPath; // where the model's symmetric key is kept
    std::string modelPath; // the downloaded file in the cache
};

// The disk cache of AI models. Everything runs on the runtime loop's thread.
class ModelManager
{
public:
    // `messageBoard` is not owned and outlives this object.
    ModelManager(const std::string& workingDirectory, MessageBoard* messageBoard);

    // The first object of `downloads` for this mime type decides.
    [[nodiscard]] ModelFiles selectDownload(
        yyjson_val* downloads, const std::string& mimeType, const std::string& modelId) const;

    // Makes sure that the cached file is right, and downloads it if not. True if a new file came.
    // A model whose download failed is left alone until forgetFailedDownloads.
    [[nodiscard]] bool ensureModel(yyjson_val* downloads, const std::string& mimeType,
        const std::string& modelId, const std::string& modelPath, const std::string& keyPath,
        const std::string& modelName, const std::string& cloudToken);

    void forgetFailedDownloads();

private:
    const std::string m_root;
    const std::string m_unencryptedFolder;
    const std::string m_encryptedFolder;
    const std::string m_keysFolder;
    std::vector<std::string> m_failedModels; // ids
    std::unordered_map<std::string, std::time_t> m_metadataTimes; // by id, as of the last check
    std::unordered_map<std::string, std::time_t> m_fileTimes; // by id, of the last download
    MessageBoard* const m_messageBoard; // not owned
};

} // namespace tavo::vms_server_plugins::analytics::orlix
