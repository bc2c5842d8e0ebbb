#include "metadata/metadata_sink.h"

#include <fstream>
#include <iostream>
#include <stdexcept>

#include "common/clock.h"

namespace tavo::devkit
{

namespace
{

JsonMaker newLine(std::string_view kind, const MetadataSink::Origin* origin)
{
    JsonMaker line;
    line.add("kind", kind);
    if (origin)
        line.add("camera", origin->camera).add("device", origin->deviceId);
    line.add("receivedUs", wallClockUs());
    return line;
}

void addObject(JsonNode list, const DetectedObject& object)
{
    JsonNode value = list.pushObject();
    value.add("typeId", object.typeId)
        .add("trackId", object.trackId)
        .add("confidence", object.confidence);
    JsonNode box = value.addList("box");
    for (const float part : {object.box.x, object.box.y, object.box.width, object.box.height})
        box.push(part);
    if (object.attributes.empty())
        return;
    JsonNode attributes = value.addList("attributes");
    for (const Attribute& attribute : object.attributes)
        attributes.pushObject().add("name", attribute.name).add("value", attribute.value);
}

void addEvent(JsonNode list, const DetectedEvent& event)
{
    list.pushObject()
        .add("typeId", event.typeId)
        .add("caption", event.caption)
        .add("description", event.description)
        .add("isActive", event.isActive)
        .add("confidence", event.confidence);
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
    JsonMaker line = newLine(kindName(metadata.kind), &origin);
    line.add("timestampUs", metadata.timestampUs).add("durationUs", metadata.durationUs);
    if (metadata.kind == Metadata::Kind::objects)
    {
        JsonNode objects = line.addList("objects");
        for (const DetectedObject& object : metadata.objects)
            addObject(objects, object);
    }
    else if (metadata.kind == Metadata::Kind::events)
    {
        JsonNode events = line.addList("events");
        for (const DetectedEvent& event : metadata.events)
            addEvent(events, event);
    }
    writeLine({kindName(metadata.kind), &origin, metadata.timestampUs, line.text()});
}

void MetadataSink::writeDocument(std::string_view kind, const Origin* origin, std::string_view json)
{
    if (!isWriting())
        return;
    JsonMaker line = newLine(kind, origin);
    if (parseJson(json))
        line.addJson("value", json);
    else
        line.add("text", json);
    writeLine({kind, origin, 0, line.text()});
}

void MetadataSink::writeDiagnostic(
    const Origin* origin, int level, std::string_view caption, std::string_view description)
{
    if (!isWriting())
        return;
    JsonMaker line = newLine("diagnosticEvent", origin);
    line.add("level", level).add("caption", caption).add("description", description);
    writeLine({"diagnosticEvent", origin, 0, line.text()});
}

void MetadataSink::writeActionResponse(
    const Origin& origin, std::string_view url, std::string_view messageToUser)
{
    if (!isWriting())
        return;
    JsonMaker line = newLine("actionResponse", &origin);
    line.add("url", url).add("messageToUser", messageToUser);
    writeLine({"actionResponse", &origin, 0, line.text()});
}

void MetadataSink::writeLine(const Line& line)
{
    const std::lock_guard lock(m_mutex);
    if (m_listener)
        m_listener->onLine(line);
    if (!m_out)
        return;
    *m_out << line.text << '\n';
}

} // namespace tavo::devkit
