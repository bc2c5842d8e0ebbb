#include "models/model_manager.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "base/manager_files.h"
#include "models/model_download.h"
#include "remote/file_helpers.h"
#include "utils/json.h"
#include "utils/log.h"
#include "utils/machine.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kKeySuffix[] = ".tvc";
constexpr char kMetadataTimeFormat[] = "%Y-%m-%dT%H:%M:%S";

std::string textMember(yyjson_val* object, const char* key)
{
    return std::string(jsonText(jsonMember(object, key)));
}

bool isFor(yyjson_val* download, const std::string& mimeType)
{
    yyjson_val* const architecture = jsonMember(download, "RuntimeArchitecture");
    return yyjson_is_str(architecture) && jsonText(architecture) == mimeType;
}

} // namespace

ModelManager::ModelManager(
    const std::string& workingDirectory, MessageBoard* messageBoard, std::stop_token stop) :
    m_root(workingDirectory + manager_files::kRootFolder),
    m_unencryptedFolder(m_root + "/cache/unencrypted"),
    m_encryptedFolder(m_root + "/cache/encrypted"),
    m_keysFolder(m_root + "/cache/keys"),
    m_messageBoard(messageBoard),
    m_stop(std::move(stop))
{}

void ModelManager::deleteLeftCopies() const
{
    for (const std::string& name : list_files(m_encryptedFolder))
        deleteFile(pathOfTemporary(name));
}

ModelFiles ModelManager::selectDownload(
    yyjson_val* downloads, const std::string& mimeType, const std::string& modelId) const
{
    std::size_t index{}, count{};
    yyjson_val* download = nullptr;
    yyjson_arr_foreach(downloads, index, count, download)
    {
        if (!isFor(download, mimeType))
            continue;

        const std::string fileName = fileNameOf(textMember(download, "Url"));
        if (!isFileName(fileName))
            return {}; // without a file there is nothing to load
        ModelFiles files;
        files.encrypted = yyjson_is_true(jsonMember(download, "Encrypted"));
        files.keyPath = path_join(m_keysFolder, modelId + kKeySuffix);
        files.modelPath =
            path_join(files.encrypted ? m_encryptedFolder : m_unencryptedFolder, fileName);
        files.runtimePath = files.encrypted ? pathOfTemporary(fileName) : files.modelPath;
        log_debug(
            files.encrypted ? "Using runtime filepath for encrypted model %s : %s\n"
                            : "Using runtime filepath for non-encrypted model %s : %s\n",
            modelId.c_str(), files.runtimePath.c_str());
        return files;
    }
    return {};
}

bool ModelManager::ensureModel(
    yyjson_val* downloads, const std::string& mimeType, const AssignedModel& model,
    const std::string& cloudToken)
{
    ensureDirectories();

    bool compatible = false;
    Verdict verdict = Verdict::next;
    std::size_t index{}, count{};
    yyjson_val* download = nullptr;
    yyjson_arr_foreach(downloads, index, count, download)
    {
        if (verdict != Verdict::next)
            break;
        if (!isFor(download, mimeType))
            continue;
        compatible = true;
        if (const auto offer = readOffer(download, model))
            verdict = ensureOffer(*offer, model, cloudToken);
    }

    if (compatible)
        m_messageBoard->removeMessage(board_key::kNoCompatibleRuntime + model.id);
    else
        reportIncompatible(model.id, model.name, mimeType);
    return verdict == Verdict::downloaded;
}

void ModelManager::reportIncompatible(
    const std::string& modelId, const std::string& modelName, const std::string& mimeType)
{
    m_messageBoard->postMessage(
        board_key::kNoCompatibleRuntime + modelId,
        "Model " + modelName + " is not compatible with this runtime: " + mimeType,
        MessageType::warning);
    m_incompatibleModels.insert(modelId);
}

void ModelManager::keepReports(std::set<std::string> modelIds)
{
    for (const std::string& id : m_incompatibleModels)
    {
        if (!modelIds.contains(id))
            m_messageBoard->removeMessage(board_key::kNoCompatibleRuntime + id);
    }
    m_incompatibleModels = std::move(modelIds);
}

std::optional<ModelManager::Offer> ModelManager::readOffer(
    yyjson_val* download, const AssignedModel& model) const
{
    Offer offer;
    offer.url = textMember(download, "Url");
    const std::string lastModified = textMember(download, "LastModified");
    log_debug("Model metadata last modified: %s\n", lastModified.c_str());
    const auto time = parseLocalTime(lastModified, kMetadataTimeFormat);
    if (!time)
    {
        log_info("Failed to parse model last modified time: %s\n", lastModified.c_str());
        return std::nullopt;
    }
    offer.lastModified = *time;

    offer.size = yyjson_get_uint(jsonMember(download, "Size")); // 0 for any other type
    if (offer.size == 0)
    {
        log_info("Warning! Download has no filesize: %s\n", offer.url.c_str());
        m_messageBoard->postMessage(
            board_key::kModelDownloadFailed + model.modelPath,
            "Failed to download model from : " + offer.url, MessageType::warning);
        return std::nullopt;
    }
    offer.encrypted = yyjson_is_true(jsonMember(download, "Encrypted"));
    return offer;
}

ModelManager::Verdict ModelManager::ensureOffer(
    const Offer& offer, const AssignedModel& model, const std::string& cloudToken)
{
    finishInterruptedDownload(model.modelPath, model.keyPath);
    if (fileStands(offer, model))
    {
        m_metadataTimes[model.id] = offer.lastModified;
        return Verdict::standing;
    }
    if (m_failedModels.contains(model.id))
        return Verdict::next;

    ModelDownload download;
    download.url = offer.url;
    download.modelPath = model.modelPath;
    download.keyPath = model.keyPath;
    download.encrypted = offer.encrypted;
    download.modelName = model.name;
    download.expectedSize = offer.size;
    download.cloudToken = cloudToken;
    std::optional<std::time_t> fileTime;
    const bool done = downloadModel(download, *m_messageBoard, &fileTime, m_stop);

    m_metadataTimes[model.id] = offer.lastModified;
    if (!done)
    {
        log_info(
            "Warning! Failed to download model: %s will ignore in the future.\n", model.id.c_str());
        m_failedModels.insert(model.id);
        return Verdict::failed;
    }
    if (fileTime)
        m_fileTimes[model.id] = *fileTime;
    return Verdict::downloaded;
}

bool ModelManager::fileStands(const Offer& offer, const AssignedModel& model) const
{
    const auto metadataTime = m_metadataTimes.find(model.id);
    const auto fileTime = m_fileTimes.find(model.id);
    const bool metadataTimeKnown = metadataTime != m_metadataTimes.end();

    const bool exists =
        fileExists(model.modelPath) && (!offer.encrypted || fileExists(model.keyPath));
    bool correctSize = false;
    bool metadataNewer = false;
    bool metadataUpdated = false;
    if (exists)
    {
        const std::uint64_t size = fileSize(model.modelPath);
        correctSize = size == offer.size;
        if (!correctSize)
        {
            log_info(
                "Warning! File exists but incorrect size. Should be: %zu Actual: %zu\n",
                static_cast<std::size_t>(offer.size), static_cast<std::size_t>(size));
        }
    }
    if (exists && !correctSize && metadataTimeKnown && fileTime != m_fileTimes.end() &&
        metadataTime->second > fileTime->second)
    {
        // The file is kept: the cloud knew this size before it had the file's time. The words are
        // those that operators know.
        metadataNewer = true;
        log_info(
            "Warning! The downloaded model file %s is newer than in metadata. It's possible the metadata is outdated.\n",
            model.id.c_str());
    }
    if (correctSize && metadataTimeKnown)
    {
        log_debug(
            "Cloud last modified: %zu Model age according to metadata: %zu\n",
            static_cast<std::size_t>(metadataTime->second),
            static_cast<std::size_t>(offer.lastModified));
        if (metadataTime->second != offer.lastModified)
        {
            metadataUpdated = true;
            log_info("Model %s has been updated in the cloud. Downloading.\n", model.id.c_str());
        }
    }
    log_debug(
        "File exists: %d Correct size: %d Model file newer: %d : Metadata updated: %d\n", exists,
        correctSize, metadataNewer, metadataUpdated);
    return exists && (correctSize || metadataNewer) && !metadataUpdated;
}

void ModelManager::forgetFailedDownloads()
{
    log_info("Clearing failed model downloads. This will cause model downloads to be retried.");
    m_failedModels.clear();
}

void ModelManager::ensureDirectories() const
{
    std::error_code error;
    bool failed = false;
    for (const std::string& folder : {m_unencryptedFolder, m_encryptedFolder, m_keysFolder})
    {
        std::filesystem::create_directories(pathFromUtf8(folder), error);
        failed = failed || error;
    }
    // The download then fails by itself, and says so to the user.
    if (failed || !std::filesystem::is_directory(pathFromUtf8(m_root), error))
    {
        log_info(
            "Error! Failed to create model directores: \n%s\n%s\n%s\n", m_unencryptedFolder.c_str(),
            m_encryptedFolder.c_str(), m_keysFolder.c_str());
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
