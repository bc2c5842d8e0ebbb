#pragma once

#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>

#include "common/json.h"
#include "metadata/metadata.h"

namespace tavo::devkit
{

// Writes what the library produces, one JSON object a line. Every line has "kind", "receivedUs"
// (wall clock), and, where a camera is concerned, "camera" and "device". Any thread; a line is
// written whole.
class MetadataSink
{
public:
    // Which camera a line is about.
    struct Origin
    {
        int camera = 0;
        std::string deviceId;
    };

    struct Line
    {
        std::string_view kind;
        const Origin* origin = nullptr; // null: no camera is concerned
        int64_t timestampUs = 0; // of the frame; 0: the line is about none
        std::string_view text; // the whole line, without its end
    };

    // Hears every line. Called on the writer's thread, one line at a time: what it does must be
    // short, and it may not write a line.
    class Listener
    {
    public:
        virtual ~Listener() = default;
        virtual void onLine(const Line& line) = 0;
    };

    // An empty name writes nowhere, "-" to standard output. The listener, which may be null, is not
    // owned and outlives the sink. Throws std::runtime_error when the file cannot be opened.
    explicit MetadataSink(const std::string& file, Listener* listener = nullptr);
    ~MetadataSink();

    // Makes what has been written visible to others.
    void flush();

    void writeMetadata(const Origin& origin, const Metadata& metadata);

    // A JSON text of the library's, which goes in as a value of its own, or as a text when it is no
    // JSON. Without a camera, `origin` is null.
    void writeDocument(std::string_view kind, const Origin* origin, std::string_view json);

    void writeDiagnostic(
        const Origin* origin, int level, std::string_view caption, std::string_view description);

    void writeActionResponse(
        const Origin& origin, std::string_view url, std::string_view messageToUser);

private:
    [[nodiscard]] bool isWriting() const { return m_out || m_listener; }
    void writeLine(const Line& line);

private:
    Listener* const m_listener;
    std::mutex m_mutex;
    std::unique_ptr<std::ostream> m_file;
    std::ostream* m_out = nullptr; // null: writes nowhere
};

} // namespace tavo::devkit
