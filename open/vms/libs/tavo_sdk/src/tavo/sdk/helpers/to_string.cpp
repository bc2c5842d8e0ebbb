#include <tavo/sdk/helpers/to_string.h>

#include <sstream>
#include <utility>

#include <tavo/sdk/helpers/uuid.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk
{

namespace
{

std::string quoted(const char* text)
{
    if (!text)
        return "null";

    constexpr char kDigits[] = "0123456789abcdef";
    std::string result = "\"";
    for (; *text; ++text)
    {
        const auto byte = static_cast<unsigned char>(*text);
        if (*text == '"' || *text == '\\')
            result.append(1, '\\').append(1, *text);
        else if (*text == '\n')
            result.append("\\n");
        else if (byte < 0x20)
            result.append("\\u00").append(1, kDigits[byte >> 4]).append(1, kDigits[byte & 0x0F]);
        else
            result.append(1, *text);
    }
    return result + "\"";
}

std::string quoted(const Uuid& uuid)
{
    return quoted(toText(uuid).c_str());
}

std::string numberText(float number)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << number;
    return stream.str();
}

std::string indentation(int count)
{
    std::string result;
    for (int i = 0; i < count; ++i)
        result += kIndent;
    return result;
}

// An object or array, one member a line.
class Block
{
public:
    Block(char opening, char closing, int indentCount) :
        m_closing(closing),
        m_indentCount(indentCount),
        m_text(1, opening)
    {}

    // `label` is empty in an array, and in an object the name in its quotes, a colon and a blank.
    Block& add(const std::string& label, const std::string& value)
    {
        m_text += m_isEmpty ? "\n" : ",\n";
        m_text += indentation(m_indentCount + 1) + label + value;
        m_isEmpty = false;
        return *this;
    }

    std::string finish() const
    {
        return m_text + (m_isEmpty ? "" : "\n" + indentation(m_indentCount)) + m_closing;
    }

private:
    const char m_closing;
    const int m_indentCount;
    std::string m_text;
    bool m_isEmpty = true;
};

template <class Metadata>
std::string attributesText(const Metadata* metadata, int indentCount)
{
    Block block('[', ']', indentCount);
    for (int i = 0; i < metadata->attributeCount(); ++i)
        block.add("", toJsonString(Ptr(metadata->attribute(i)).get(), indentCount + 1));
    return block.finish();
}

template <class Packet>
std::string packetText(const Packet* packet, int indentCount)
{
    if (!packet)
        return "null";

    Block items('[', ']', indentCount + 1);
    for (int i = 0; i < packet->count(); ++i)
        items.add("", toJsonString(Ptr(packet->at(i)).get(), indentCount + 2));

    return Block('{', '}', indentCount)
        .add("\"timestampUs\": ", std::to_string(packet->timestampUs()))
        .add("\"durationUs\": ", std::to_string(packet->durationUs()))
        .add("\"items\": ", items.finish())
        .add("\"flags\": ", std::to_string(packet->flags()))
        .finish();
}

} // namespace

std::string toString(ErrorCode errorCode)
{
    switch (errorCode)
    {
        case ErrorCode::noError:
            return "noError";
        case ErrorCode::unauthorized:
            return "unauthorized";
        case ErrorCode::notImplemented:
            return "notImplemented";
        case ErrorCode::networkError:
            return "networkError";
        case ErrorCode::otherError:
            return "otherError";
        case ErrorCode::needMoreData:
            return "needMoreData";
        case ErrorCode::inProgress:
            return "inProgress";
        case ErrorCode::internalError:
            return "internalError";
        case ErrorCode::invalidParams:
            return "invalidParams";
    }
    return "<unsupported Error>";
}

std::string toString(IIntegrationDiagnosticEvent::Level level)
{
    using Level = IIntegrationDiagnosticEvent::Level;
    switch (level)
    {
        case Level::info:
            return "info";
        case Level::warning:
            return "warning";
        case Level::error:
            return "error";
    }
    return "unknown(" + std::to_string(static_cast<int>(level)) + ")";
}

std::string toJsonString(const analytics::IDeviceInfo* deviceInfo, int indentCount)
{
    if (!deviceInfo)
        return "null";

    Block block('{', '}', indentCount);
    block.add("\"id\": ", quoted(deviceInfo->id()))
        .add("\"vendor\": ", quoted(deviceInfo->vendor()))
        .add("\"model\": ", quoted(deviceInfo->model()))
        .add("\"firmware\": ", quoted(deviceInfo->firmware()))
        .add("\"name\": ", quoted(deviceInfo->name()))
        .add("\"url\": ", quoted(deviceInfo->url()))
        .add("\"login\": ", quoted(deviceInfo->login()))
        .add("\"_password\": \"_hidden_\"", "")
        .add("\"channelNumber\": ", std::to_string(deviceInfo->channelNumber()))
        .add("\"sharedId\": ", quoted(deviceInfo->sharedId()))
        .add("\"logicalId\": ", quoted(deviceInfo->logicalId()));
    return block.finish();
}

std::string toJsonString(const IStringMap* stringMap, int indentCount)
{
    if (!stringMap)
        return "ERROR: stringMap is null";

    Block block('{', '}', indentCount);
    for (int i = 0; i < stringMap->count(); ++i)
        block.add(quoted(stringMap->key(i)) + ": ", quoted(stringMap->valueAt(i)));
    return block.finish();
}

std::string toJsonString(const IAttribute* attribute, int indentCount)
{
    if (!attribute)
        return "null";

    return Block('{', '}', indentCount)
        .add("\"name\": ", quoted(attribute->name()))
        .add("\"value\": ", quoted(attribute->value()))
        .finish();
}

std::string toJsonString(const IIntegrationDiagnosticEvent* event, int indentCount)
{
    if (!event)
        return "null";

    return Block('{', '}', indentCount)
        .add("\"level\": ", quoted(toString(event->level()).c_str()))
        .add("\"caption\": ", quoted(event->caption()))
        .add("\"description\": ", quoted(event->description()))
        .finish();
}

std::string toJsonString(const analytics::IObjectMetadata* metadata, int indentCount)
{
    if (!metadata)
        return "null";

    const analytics::Rect box = metadata->boundingBox();
    const std::string boxText = "[" + numberText(box.x) + ", " + numberText(box.y) + ", " +
        numberText(box.width) + ", " + numberText(box.height) + "]";
    return Block('{', '}', indentCount)
        .add("\"typeId\": ", quoted(metadata->typeId()))
        .add("\"confidence\": ", numberText(metadata->confidence()))
        .add("\"trackId\": ", quoted(metadata->trackId()))
        .add("\"subtype\": ", quoted(metadata->subtype()))
        .add("\"boundingBox\": ", boxText)
        .add("\"attributes\": ", attributesText(metadata, indentCount + 1))
        .finish();
}

std::string toJsonString(const analytics::IEventMetadata* metadata, int indentCount)
{
    if (!metadata)
        return "null";

    Uuid trackId;
    metadata->getTrackId(&trackId);
    return Block('{', '}', indentCount)
        .add("\"typeId\": ", quoted(metadata->typeId()))
        .add("\"confidence\": ", numberText(metadata->confidence()))
        .add("\"caption\": ", quoted(metadata->caption()))
        .add("\"description\": ", quoted(metadata->description()))
        .add("\"isActive\": ", metadata->isActive() ? "true" : "false")
        .add("\"trackId\": ", quoted(trackId))
        .add("\"key\": ", quoted(metadata->key()))
        .add("\"regionId\": ", quoted(metadata->regionId()))
        .add("\"attributes\": ", attributesText(metadata, indentCount + 1))
        .finish();
}

std::string toJsonString(const analytics::IObjectMetadataPacket* packet, int indentCount)
{
    return packetText(packet, indentCount);
}

std::string toJsonString(const analytics::IEventMetadataPacket* packet, int indentCount)
{
    return packetText(packet, indentCount);
}

} // namespace tavo::sdk
