#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_map>

#include <yyjson.h>

#include "base/assigned_model.h"
#include "base/message_board.h"

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

// The disk cache of AI models. Everything runs on the runtime loop's thread, and a download holds
// it for as long as it takes; its progress and its failures are on the board. Nothing throws.
//
// The tables of times live in memory only: after a restart a file on disk is taken by its size.
class ModelManager
{
public:
    // `messageBoard` is not owned and outlives this object. `stop` ends a download.
    ModelManager(
        const std::string& workingDirectory, MessageBoard* messageBoard, std::stop_token stop = {});

    // The first object of `downloads` for this mime type decides.
    [[nodiscard]] ModelFiles selectDownload(
        yyjson_val* downloads, const std::string& mimeType, const std::string& modelId) const;

    // Makes sure that the cached file is right, and downloads it if not. True if a new file came.
    // A model whose download failed is left alone until forgetFailedDownloads.
    [[nodiscard]] bool ensureModel(
        yyjson_val* downloads, const std::string& mimeType, const AssignedModel& model,
        const std::string& cloudToken);

    // Tells the user of a model without a download for this mime type. ensureModel takes it back
    // once there is one.
    void reportIncompatible(
        const std::string& modelId, const std::string& modelName, const std::string& mimeType);

    // Takes back what was told of other models than these ids: they are assigned no more.
    void keepReports(std::set<std::string> modelIds);

    void forgetFailedDownloads();

    // Decrypted copies that a host which was killed has left. Any thread, while nobody else has the
    // temporary folder and no application was started.
    void deleteLeftCopies() const;

private:
    // One object of `downloads`, as far as a download needs it.
    struct Offer
    {
        std::string url;
        std::uint64_t size = 0; // bytes
        std::time_t lastModified = 0;
        bool encrypted = false;
    };

    // What became of the look at one object: on with the next one, or done.
    enum class Verdict
    {
        next,
        standing,
        downloaded,
        failed,
    };

    void ensureDirectories() const;

    [[nodiscard]] std::optional<Offer> readOffer(
        yyjson_val* download, const AssignedModel& model) const;
    [[nodiscard]] Verdict ensureOffer(
        const Offer& offer, const AssignedModel& model, const std::string& cloudToken);
    [[nodiscard]] bool fileStands(const Offer& offer, const AssignedModel& model) const;

    const std::string m_root;
    const std::string m_unencryptedFolder;
    const std::string m_encryptedFolder;
    const std::string m_keysFolder;
    std::set<std::string> m_failedModels; // ids
    std::set<std::string> m_incompatibleModels; // ids
    std::unordered_map<std::string, std::time_t> m_metadataTimes; // by id, as of the last check
    std::unordered_map<std::string, std::time_t> m_fileTimes; // by id, of the last download
    MessageBoard* const m_messageBoard; // not owned
    const std::stop_token m_stop;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
