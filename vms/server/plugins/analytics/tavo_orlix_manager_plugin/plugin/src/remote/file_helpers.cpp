#include "remote/file_helpers.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <new>
#include <system_error>

#include <tavo/kit/debug.h>

#include "utils/files.h"
#include "utils/folders.h"
#include "utils/log.h"
#include "utils/paths.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// A call of the host's may be waiting.
constexpr std::chrono::milliseconds kReplacePatience{50};

} // namespace

bool fileExists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(pathFromUtf8(path), error);
}

std::uint64_t fileSize(const std::string& path)
{
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(pathFromUtf8(path), error);
    if (error)
    {
        log_info("Failed to get file size: %s\n", path.c_str());
        return 0;
    }
    return size;
}

bool deleteFile(const std::string& path)
{
    std::error_code error;
    remove_entry(path, error);
    if (error)
    {
        log_info(
            "Warning! Could not delete file: %s (Error: %s)\n", path.c_str(),
            error.message().c_str());
        return false;
    }
    return true;
}

std::unique_ptr<char[]> readFile(const std::string& path, std::size_t* size)
{
    *size = 0;
    const FileStream file(file_open_read(path.c_str()));
    if (!file)
    {
        kit::printLine("Failed to open file: " + path);
        return nullptr;
    }
    const std::uint64_t wholeSize = file_size(file.get());
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[wholeSize]);
    if (buffer)
        *size = std::fread(buffer.get(), 1, wholeSize, file.get());
    if (*size != wholeSize)
        log_info("Warning! Failed to read file: %s\n", path.c_str());
    return buffer;
}

bool writeAndClose(FileStream file, std::string_view content)
{
    const std::size_t size = content.size();
    const bool isWritten = file && std::fwrite(content.data(), 1, size, file.get()) == size;
    // Closing writes what the stream still holds, so a full disk may show only there.
    return file && std::fclose(file.release()) == 0 && isWritten;
}

int writeFile(const std::string& path, const char* data, std::size_t size)
{
    log_info("Writing size: %zu\n", size);
    FileStream file(file_open_write(path.c_str()));
    if (!file)
    {
        log_info("Error opening file\n");
        return 1;
    }
    if (!writeAndClose(std::move(file), {data, size}))
    {
        log_info("Error writing file\n");
        return 1;
    }
    log_info("Bytes written: %zu\n", size);
    log_info("Data written successfully\n");
    return 0;
}

bool isFileName(std::string_view text)
{
    if (text.empty() || text == "." || text == ".." || !isNameOfFile(text))
        return false;
    return std::none_of(
        text.begin(), text.end(),
        [](char c)
        {
            const auto byte = static_cast<unsigned char>(c);
            return c == '/' || c == '\\' || byte < 0x20 || byte == 0x7F;
        });
}

bool replaceFile(const std::string& path, std::string_view content)
{
    const std::string draft = path + ".new";
    FileStream file(file_open_write(draft.c_str()));
    if (!file)
        return false;
    std::error_code error;
    if (writeAndClose(std::move(file), content))
        rename_entry(draft, path, kReplacePatience, error);
    else
        error = std::make_error_code(std::errc::io_error);
    if (!error)
        return true;
    std::error_code ignored;
    remove_entry(draft, ignored);
    return false;
}

std::string fileNameOf(const std::string& path)
{
    const std::string name = path.substr(0, path.find_first_of("?#"));
    const std::size_t slash = name.rfind('/');
    if (slash == std::string::npos)
    {
        log_info("Warning! Could not determine model filename: %s\n", path.c_str());
        return {};
    }
    return name.substr(slash + 1);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
