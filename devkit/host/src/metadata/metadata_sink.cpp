#include "metadata/metadata_sink.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "common/clock.h"

namespace tavo::devkit
{

namespace
{

struct LineDocument
{
    MutableJsonDocument document{yyjson_mut_doc_new(nullptr)};
    yyjson_mut_val* root = yyjson_mut_obj(document.get());

    LineDocument(std::string_view kind, const MetadataSink::Origin* origin)
    {
        yyjson_mut_doc_set_root(document.get(), root);
        add("kind", kind);
        if (origin)
        {
            yyjson_mut_obj_add_int(document.get(), root, "camera", origin->camera);
            add("device", origin->deviceId);
        }
        yyjson_mut_obj_add_int(document.get(), root, "receivedUs", wallClockUs());
    }

    void add(const char* key, std::string_view text) { addString(document.get(), root, key, text); }
};

// As many digits as a 32-bit float is worth. What is no number is null, as in JSON it must.
yyjson_mut_val* newReal(yyjson_mut_doc* document, float value)
{
    if (!std::isfinite(value))
        return yyjson_mut_null(document);
    char text[32];
    std::snprintf(text, sizeof(text), "%.6g", double(value));
    return yyjson_mut_rawcpy(document, text);
}

yyjson_mut_val* newObject(yyjson_mut_doc* document, const DetectedObject& object)
{
    yyjson_mut_val* const value = yyjson_mut_obj(document);
    addString(document, value, "typeId", object.typeId);
    addString(document, value, "trackId", object.trackId);
    yyjson_mut_obj_add_val(document, value, "confidence", newReal(document, object.confidence));
    yyjson_mut_val* const box = yyjson_mut_obj_add_arr(document, value, "box");
    for (const float part : {object.box.x, object.box.y, object.box.width, object.box.height})
        yyjson_mut_arr_append(box, newReal(document, part));
    if (object.attributes.empty())
        return value;
    yyjson_mut_val* const attributes = yyjson_mut_obj_add_arr(document, value, "attributes");
    for (const Attribute& attribute : object.attributes)
    {
        yyjson_mut_val* const item = yyjson_mut_arr_add_obj(document, attributes);
        addString(document, item, "name", attribute.name);
        addString(document, item, "value", attribute.value);
    }
    return value;
}

yyjson_mut_val* newEvent(yyjson_mut_doc* document, const DetectedEvent& event)
{
    yyjson_mut_val* const value = yyjson_mut_obj(document);
    addString(document, value, "typeId", event.typeId);
    addString(document, value, "caption", event.caption);
    addString(document, value, "description", event.description);
    yyjson_mut_obj_add_bool(document, value, "isActive", event.isActive);
    yyjson_mut_obj_add_val(document, value, "confidence", newReal(document, event.confidence));
    return value;
}

const char* kindName(Metadata::Kind kind)
{
    switch (kind)
    {
        case Metadata::Kind::objects:
            return "objects";
        case Metadata::Kind::events:
            return "events";
        case Metadata::Kind::other:
            return "other";
    }
    return "";
}

} // namespace

MetadataSink::MetadataSink(const std::string& file, Listener* listener) :
    m_listener(listener)
{
    if (file == "-")
    {
        m_out = &std::cout;
        return;
    }
    if (file.empty())
        return;
    m_file = std::make_unique<std::ofstream>(file);
    if (!*m_file)
        throw std::runtime_error(file + ": cannot be written");
    m_out = m_file.get();
}

MetadataSink::~MetadataSink()
{
    flush();
}

void MetadataSink::flush()
{
    const std::lock_guard lock(m_mutex);
    if (m_out)
        m_out->flush();
}

void MetadataSink::writeMetadata(const Origin& origin, const Metadata& metadata)
{
    if (!isWriting())
        return;
    LineDocument line(kindName(metadata.kind), &origin);
    yyjson_mut_doc* const document = line.document.get();
    yyjson_mut_obj_add_int(document, line.root, "timestampUs", metadata.timestampUs);
    yyjson_mut_obj_add_int(document, line.root, "durationUs", metadata.durationUs);
    if (metadata.kind == Metadata::Kind::objects)
    {
        yyjson_mut_val* const objects = yyjson_mut_obj_add_arr(document, line.root, "objects");
        for (const DetectedObject& object : metadata.objects)
            yyjson_mut_arr_append(objects, newObject(document, object));
    }
    else if (metadata.kind == Metadata::Kind::events)
    {
        yyjson_mut_val* const events = yyjson_mut_obj_add_arr(document, line.root, "events");
        for (const DetectedEvent& event : metadata.events)
            yyjson_mut_arr_append(events, newEvent(document, event));
    }
    writeLine({kindName(metadata.kind), &origin, metadata.timestampUs, {}}, *document);
}

void MetadataSink::writeDocument(std::string_view kind, const Origin* origin, std::string_view json)
{
    if (!isWriting())
        return;
    LineDocument line(kind, origin);
    const JsonDocument parsed = parseJson(json);
    if (parsed)
    {
        yyjson_mut_obj_add_val(
            line.document.get(), line.root, "value",
            yyjson_val_mut_copy(line.document.get(), yyjson_doc_get_root(parsed.get())));
    }
    else
    {
        line.add("text", json);
    }
    writeLine({kind, origin, 0, {}}, *line.document);
}

void MetadataSink::writeDiagnostic(
    const Origin* origin, int level, std::string_view caption, std::string_view description)
{
    if (!isWriting())
        return;
    LineDocument line("diagnosticEvent", origin);
    yyjson_mut_obj_add_int(line.document.get(), line.root, "level", level);
    line.add("caption", caption);
    line.add("description", description);
    writeLine({"diagnosticEvent", origin, 0, {}}, *line.document);
}

void MetadataSink::writeActionResponse(
    const Origin& origin, std::string_view url, std::string_view messageToUser)
{
    if (!isWriting())
        return;
    LineDocument line("actionResponse", &origin);
    line.add("url", url);
    line.add("messageToUser", messageToUser);
    writeLine({"actionResponse", &origin, 0, {}}, *line.document);
}

void MetadataSink::writeLine(Line line, const yyjson_mut_doc& document)
{
    std::string text = toText(document);
    line.text = text;
    const std::lock_guard lock(m_mutex);
    if (m_listener)
        m_listener->onLine(line);
    if (!m_out)
        return;
    text += '\n';
    m_out->write(text.data(), std::streamsize(text.size()));
}

} // namespace tavo::devkit
