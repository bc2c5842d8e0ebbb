// The files in which an application tells of the processors that it brings along.

#include "inference/orlix_manager_interface.h"
#include "remote/file_helpers.h"
#include "utils/log_rarely.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Null if it is broken; `why` says how.
JsonDocument parse(std::string_view text, const char* list, std::string& why)
{
    yyjson_read_err error{};
    JsonDocument document(yyjson_read_opts(
        const_cast<char*>(text.data()), text.size(), YYJSON_READ_NOFLAG, nullptr, &error));
    if (!document)
    {
        std::size_t line{}, column{}, character{};
        if (yyjson_locate_pos(text.data(), text.size(), error.pos, &line, &column, &character))
            why = "Line " + std::to_string(line) + ": ";
        why += error.msg;
    }
    else if (!yyjson_is_arr(jsonMember(yyjson_doc_get_root(document.get()), list)))
    {
        why = std::string("There is no list \"") + list + "\" in it";
        document.reset();
    }
    return document;
}

JsonDocument load(
    MessageBoard& board, const char* boardKey, const std::string& path, const char* list)
{
    if (!fileExists(path))
    {
        board.removeMessage(boardKey);
        return nullptr;
    }
    std::size_t size{};
    const std::unique_ptr<char[]> text = readFile(path, &size);
    std::string why = "It cannot be read";
    if (text)
    {
        why.clear();
        if (JsonDocument document = parse({text.get(), size}, list, why))
        {
            board.removeMessage(boardKey);
            return document;
        }
    }
    log_warning(path, "Warning! Broken file of processors: %s: %s\n", path.c_str(), why.c_str());
    board.postMessage(
        boardKey,
        "Processors that come with the AI application are missing, since the file that tells of "
        "them is broken: " +
            path + "\n" + why + ".",
        MessageType::warning);
    return nullptr;
}

} // namespace

JsonDocument OrlixManagerInterface::loadExternalPreprocessors() const
{
    return load(
        *m_messageBoard, board_key::kBrokenPreprocessors,
        path_join(m_rootFolder, "preprocessors", "external_preprocessors.json"),
        "externalPreprocessors");
}

JsonDocument OrlixManagerInterface::loadExternalPostprocessors() const
{
    return load(
        *m_messageBoard, board_key::kBrokenPostprocessors,
        path_join(m_rootFolder, "postprocessors", "external_postprocessors.json"),
        "externalPostprocessors");
}

} // namespace tavo::vms_server_plugins::analytics::orlix
