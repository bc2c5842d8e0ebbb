#include "models/model_download.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iomanip>
#include <locale>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>

#include <openssl/crypto.h>

#include <tavo/utils/url.h>

#include "base/ini.h"
#include "base/outcome.h"
#include "models/orlix_crypto.h"
#include "remote/answer_body.h"
#include "remote/certificates.h"
#include "remote/file_downloader.h"
#include "remote/file_helpers.h"
#include "remote/stoppable_client.h"
#include "utils/files.h"
#include "utils/folders.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kHttpTimeFormat[] = "%a, %d %b %Y %H:%M:%S GMT";
constexpr std::string_view kMd5Prefix = "md5=";

// What lies beside a model and beside its key until both are whole. The model moves first and its
// key follows, so a key without a temporary model belongs to the model that is in place.
std::string temporaryPathOf(const std::string& path)
{
    return path + ".tmp";
}

void dropFile(const std::string& path)
{
    std::error_code ignored; // it may never have been there
    remove_entry(path, ignored);
}

Outcome rename(const std::string& from, const std::string& to)
{
    std::error_code error;
    rename_entry(from, to, kRenamePatience, error);
    return error ? Outcome::failedAt(to, error) : Outcome();
}

// One download under way, and what its steps share.
class Transfer
{
public:
    Transfer(const ModelDownload& download, MessageBoard& board, const std::stop_token& stop) :
        m_download(download),
        m_board(board),
        m_stop(stop),
        m_temporaryPath(temporaryPathOf(download.modelPath)),
        m_temporaryKeyPath(temporaryPathOf(download.keyPath)),
        m_client(downloadCertificateCheck(), stop)
    {}

    ~Transfer() { OPENSSL_cleanse(m_key.data(), m_key.size()); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    bool run(std::optional<std::time_t>* lastModified)
    {
        log_info(
            "Downloading %s to temp file: %s then moving to %s\n", m_download.url.c_str(),
            m_temporaryPath.c_str(), m_download.modelPath.c_str());
        prepareClient();
        postProgress(" (0%)\nClick on the 'Refresh' button to see updated progress.");
        const bool done = request() && readDigest() && readKey() && receive(lastModified) &&
            digestMatches() && saveKey() && moveIntoPlace();
        if (!done)
            dropTemporaryFiles();
        if (!done && m_stop.stop_requested())
            log_info("Gave up a download for the shutdown: %s\n", m_download.url.c_str());
        m_board.removeMessage(board_key::kModelDownloadProgress);
        return done;
    }

private:
    void prepareClient()
    {
        trustConfiguredAuthorities(m_client);
        m_client.addAdditionalHeader("Authorization", m_download.cloudToken);
        m_client.setAllTimeouts(std::chrono::seconds(ini().modelDownloadSeconds));
    }

    bool request()
    {
        if (!m_client.doGet(Url(m_download.url)) || !m_client.response())
        {
            return failed(
                "Failed to download model from:" + m_download.url +
                "\nCouldn't get a response. The connection failed: " + m_client.failure() + ".");
        }
        const auto& status = m_client.response()->statusLine;
        if (status.statusCode == 200)
            return true;
        return failed(
            "Failed to download model from:" + m_download.url +
            " Code: " + std::to_string(status.statusCode) + " Line: " + status.toString() +
            " Body: " + fetchBodyExcerpt(m_client, m_download.floor));
    }

    bool readDigest()
    {
        m_digest = header("Content-Digest");
        if (!m_digest.empty())
            return true;
        log_info("Error! Model has no content digest in header!\n");
        return failed(
            "Failed to download model from:" + m_download.url + "\nThe answer has no digest.");
    }

    bool readKey()
    {
        if (!m_download.encrypted)
            return true;
        log_debug("Model is encrypted. Get symmetric key and save to file.\n");
        m_key = base64Decode(header("X-Key")).value_or(Bytes());
        if (m_key.empty())
        {
            log_info("Error! Model is encrypted but could not get symmetric key!\n");
            return failed(
                "Failed to download model from:" + m_download.url +
                "\nThe model is encrypted, and the answer has no key for it.");
        }
        log_debug(
            "Got symmetric key length %zu for model saved to %s\n", m_key.size(),
            m_temporaryPath.c_str());
        return true;
    }

    bool receive(std::optional<std::time_t>* lastModified)
    {
        *lastModified = parseLocalTime(header("Last-Modified"), kHttpTimeFormat);
        FileStream file(file_open_write(m_temporaryPath.c_str()));
        if (!file)
        {
            const Outcome outcome = Outcome::failedAt(m_temporaryPath);
            log_info("Error opening file for writing\n");
            return failedToPlace(outcome);
        }
        std::uint64_t received = 0;
        m_received = receiveFile(
            m_client, file.get(), m_temporaryPath, m_download.floor,
            [&](std::uint64_t total)
            {
                received = total;
                postProgress(
                    " (" + std::to_string(received * 100 / m_download.expectedSize) +
                    "%)\nClick on the 'Refresh' button to see updated progress.");
            });
        if (std::fclose(file.release()) != 0 && m_received)
            m_received = Outcome::failedAt(m_temporaryPath);
        if (m_received && received < std::strtoull(header("Content-Length").c_str(), nullptr, 10))
            m_received = Outcome::failed("The connection ended before the file did.");
        m_board.removeMessage(board_key::kModelDownloadProgress);
        return !m_stop.stop_requested();
    }

    bool digestMatches()
    {
        const auto hash = fileMd5(m_temporaryPath, m_stop);
        if (!hash)
            return failed("Could not generate Hash from file: " + m_temporaryPath);
        if (!m_digest.starts_with(kMd5Prefix))
        {
            post(
                m_download.modelPath,
                "Model file content digest format unknown: " + std::string(excerptOf(m_digest)));
            return false;
        }
        const Bytes expected = base64Decode(encodedDigest()).value_or(Bytes());
        const std::string compared =
            std::string(excerptOf(m_digest)) + " File: " + base64Encode(*hash);
        if (expected.size() < kMd5Size)
        {
            return failed(
                "Model digest length in header does not match downloaded file hash length. Header: " +
                compared);
        }
        if (m_received && std::equal(hash->begin(), hash->end(), expected.begin()))
            return true;
        return failed(
            "Model digest in header does not match downloaded file hash. Header: " + compared +
            (m_received ? "" : ". " + m_received.why()));
    }

    // Beside the old key, which goes with the old model until the new one is in place.
    bool saveKey()
    {
        if (!m_download.encrypted)
            return true;
        const std::string_view key(reinterpret_cast<const char*>(m_key.data()), m_key.size());
        if (writeAndClose(FileStream(file_open_private(m_temporaryKeyPath.c_str())), key))
            return true;
        return keyFailed(Outcome::failedAt(m_temporaryKeyPath));
    }

    bool moveIntoPlace()
    {
        if (const Outcome moved = rename(m_temporaryPath, m_download.modelPath); !moved)
            return failedToPlace(moved);
        if (m_download.encrypted)
        {
            if (const Outcome moved = rename(m_temporaryKeyPath, m_download.keyPath); !moved)
                return keyFailed(moved);
        }
        log_info(
            "Download completed of %s to %s\n", m_download.url.c_str(),
            m_download.modelPath.c_str());
        m_board.removeMessage(board_key::kModelDownloadFailed + m_download.modelPath);
        return true;
    }

    // Told whichever of the files it was: what is told is what a user can try again.
    bool failedToPlace(const Outcome& outcome)
    {
        return failed(
            "Failed to rename file " + m_temporaryPath + " to: " + m_download.modelPath +
            "\nEnsure file is accessible and not being used by another program. " + outcome.why());
    }

    bool keyFailed(const Outcome& outcome)
    {
        log_info("ERROR: Failed to save the symmetric key.\n");
        return failedToPlace(outcome);
    }

    // A structured field's byte sequence stands between colons.
    [[nodiscard]] std::string_view encodedDigest() const
    {
        std::string_view text = std::string_view(m_digest).substr(kMd5Prefix.size());
        if (text.size() >= 2 && text.front() == ':' && text.back() == ':')
            text = text.substr(1, text.size() - 2);
        return text;
    }

    [[nodiscard]] std::string header(const char* name) const
    {
        return network::http::getHeaderValue(m_client.response()->headers, name);
    }

    void postProgress(const std::string& progress)
    {
        m_board.postMessage(
            board_key::kModelDownloadProgress,
            "Downloading model: " + m_download.modelName + progress, MessageType::message);
    }

    void post(const std::string& path, const std::string& text)
    {
        if (m_stop.stop_requested())
            return; // whatever failed did so for that
        log_info("Error! %s\n", text.c_str());
        m_board.postMessage(board_key::kModelDownloadFailed + path, text, MessageType::warning);
    }

    // Posted under the temporary path, so that a later success does not take it back: it stays
    // until the user clears the warnings.
    bool failed(const std::string& text)
    {
        post(m_temporaryPath, text);
        return false;
    }

    // The key first: alone it would count as that of the model in place, as it is once that moved.
    void dropTemporaryFiles()
    {
        if (!fileExists(m_temporaryPath))
            return;
        dropFile(m_temporaryKeyPath);
        dropFile(m_temporaryPath);
    }

    const ModelDownload& m_download;
    MessageBoard& m_board;
    const std::stop_token& m_stop;
    const std::string m_temporaryPath;
    const std::string m_temporaryKeyPath;
    StoppableClient m_client;
    std::string m_digest;
    Outcome m_received; // tells why a digest does not match
    Bytes m_key;
};

} // namespace

bool downloadModel(
    const ModelDownload& download, MessageBoard& board, std::optional<std::time_t>* lastModified,
    const std::stop_token& stop)
{
    return Transfer(download, board, stop).run(lastModified);
}

void finishInterruptedDownload(const std::string& modelPath, const std::string& keyPath)
{
    const std::string temporaryKeyPath = temporaryPathOf(keyPath);
    if (!fileExists(temporaryKeyPath))
        return;
    if (fileExists(temporaryPathOf(modelPath)))
        dropFile(temporaryKeyPath);
    else if (!rename(temporaryKeyPath, keyPath))
        log_info("ERROR: Failed to save the symmetric key.\n");
}

std::optional<std::time_t> parseLocalTime(const std::string& text, const char* format)
{
    std::tm time{};
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    stream >> std::get_time(&time, format);
    if (stream.fail())
        return std::nullopt;
    time.tm_isdst = -1;
    return std::mktime(&time);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
