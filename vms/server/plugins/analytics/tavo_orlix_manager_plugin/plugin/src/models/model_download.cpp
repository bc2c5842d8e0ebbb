#include "models/model_download.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iomanip>
#include <locale>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>

#include <tavo/network/http/http_client.h>
#include <tavo/utils/url.h>

#include "core/base/ini.h"
#include "models/orlix_crypto.h"
#include "utils/files.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using network::http::HttpClient;

constexpr char kHttpTimeFormat[] = "%a, %d %b %Y %H:%M:%S GMT";
constexpr std::string_view kMd5Prefix = "md5=";

// One download under way, and what its steps share.
class Transfer
{
public:
    Transfer(const ModelDownload& download, MessageBoard& board) :
        m_download(download),
        m_board(board),
        m_temporaryPath(download.modelPath + ".tmp"),
        m_client(network::ssl::kAcceptAnyCertificate)
    {}

    bool run(std::optional<std::time_t>* lastModified)
    {
        log_info(
            "Downloading %s to temp file: %s then moving to %s\n", m_download.url.c_str(),
            m_temporaryPath.c_str(), m_download.modelPath.c_str());
        prepareClient();
        postProgress(0);
        const bool done = request() && readDigest() && saveKey() && receive(lastModified) &&
            digestMatches() && moveIntoPlace();
        m_board.removeMessage(board_key::kModelDownloadProgress);
        return done;
    }

private:
    void prepareClient()
    {
        m_client.addAdditionalHeader("Authorization", m_download.cloudToken);
        m_client.setAllTimeouts(std::chrono::seconds(ini().modelDownloadSeconds));
    }

    bool request()
    {
        if (!m_client.doGet(Url(m_download.url)) || !m_client.response())
        {
            return failed(
                "Failed to download model from:" + m_download.url + "\nCouldn't get a response.");
        }
        const auto& status = m_client.response()->statusLine;
        if (status.statusCode == 200)
            return true;
        std::string text = "Failed to download model from:" + m_download.url +
            " Code: " + std::to_string(status.statusCode) + " Line: " + status.toString();
        if (const auto body = m_client.fetchEntireMessageBody())
            text += " Body: " + std::string(*body);
        return failed(text);
    }

    bool readDigest()
    {
        m_digest = header("Content-Digest");
        if (!m_digest.empty())
            return true;
        log_info("Error! Model has no content digest in header!\n");
        return false;
    }

    bool saveKey()
    {
        if (!m_download.encrypted)
            return true;
        log_debug("Model is encrypted. Get symmetric key and save to file.\n");
        const auto key = base64Decode(header("X-Key"));
        if (!key || key->empty())
        {
            log_info("Error! Model is encrypted but could not get symmetric key!\n");
            return false;
        }
        log_debug(
            "Got symmetric key length %zu for model saved to %s\n", key->size(),
            m_temporaryPath.c_str());
        const FileStream file(file_open_private(m_download.keyPath.c_str()));
        // Without its key the model will be refused when the application is started.
        if (!file || std::fwrite(key->data(), 1, key->size(), file.get()) != key->size() ||
            std::fflush(file.get()) != 0)
        {
            log_info("ERROR: Failed to save the symmetric key.\n");
        }
        return true;
    }

    bool receive(std::optional<std::time_t>* lastModified)
    {
        *lastModified = parseLocalTime(header("Last-Modified"), kHttpTimeFormat);
        FileStream file(file_open_write(m_temporaryPath.c_str()));
        if (!file)
        {
            log_info("Error opening file for writing\n");
            return false;
        }
        std::uint64_t received = 0;
        bool written = true;
        while (!m_client.eof())
        {
            const auto buffer = m_client.fetchMessageBodyBuffer();
            written = written &&
                std::fwrite(buffer.data(), 1, buffer.size(), file.get()) == buffer.size();
            received += buffer.size();
            postProgress(received * 100 / m_download.expectedSize);
        }
        written = std::fclose(file.release()) == 0 && written;
        // The digest tells the user; the log tells why.
        if (!written)
            log_info("Error writing file: %s\n", m_temporaryPath.c_str());
        m_board.removeMessage(board_key::kModelDownloadProgress);
        return true;
    }

    bool digestMatches()
    {
        const auto hash = fileMd5(m_temporaryPath);
        if (!hash)
            return failed("Could not generate Hash from file: " + m_temporaryPath);
        if (!m_digest.starts_with(kMd5Prefix))
        {
            dropTemporaryFile();
            post(m_download.modelPath, "Model file content digest format unknown: " + m_digest);
            return false;
        }
        const Bytes expected = base64Decode(encodedDigest()).value_or(Bytes());
        const std::string compared = " Header: " + m_digest + " File: " + base64Encode(*hash);
        if (expected.size() < kMd5Size)
        {
            return failed(
                "Model digest length in header does not match downloaded file hash length." +
                compared);
        }
        if (!std::equal(hash->begin(), hash->end(), expected.begin()))
            return failed("Model digest in header does not match downloaded file hash." + compared);
        return true;
    }

    bool moveIntoPlace()
    {
        std::error_code error;
        std::filesystem::rename(m_temporaryPath, m_download.modelPath, error);
        if (error)
        {
            return failed(
                "Failed to rename file " + m_temporaryPath + " to: " + m_download.modelPath +
                "\nEnsure file is accessible and not being used by another program.");
        }
        log_info(
            "Download completed of %s to %s\n", m_download.url.c_str(),
            m_download.modelPath.c_str());
        m_board.removeMessage(board_key::kModelDownloadFailed + m_download.modelPath);
        return true;
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

    void postProgress(std::uint64_t percent)
    {
        m_board.postMessage(
            board_key::kModelDownloadProgress,
            "Downloading model: " + m_download.modelName + " (" + std::to_string(percent) +
                "%)\nClick on the 'Refresh' button to see updated progress.",
            MessageType::message);
    }

    void post(const std::string& path, const std::string& text)
    {
        m_board.postMessage(board_key::kModelDownloadFailed + path, text, MessageType::warning);
    }

    // Posted under the temporary path, so that a later success does not take it back: it stays
    // until the user clears the warnings.
    bool failed(const std::string& text)
    {
        post(m_temporaryPath, text);
        dropTemporaryFile();
        return false;
    }

    void dropTemporaryFile()
    {
        std::error_code ignored; // it may never have been there
        std::filesystem::remove(m_temporaryPath, ignored);
    }

    const ModelDownload& m_download;
    MessageBoard& m_board;
    const std::string m_temporaryPath;
    HttpClient m_client;
    std::string m_digest;
};

} // namespace

bool downloadModel(
    const ModelDownload& download, MessageBoard& board, std::optional<std::time_t>* lastModified)
{
    return Transfer(download, board).run(lastModified);
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
