#include "device_agent/dialog/dialog_items.h"

#include <cstdint>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD

// Bytes of the character at the front of `text`, or 0 if there is no whole one.
std::size_t characterLength(std::string_view text)
{
    // The first byte's bits above the character's, the smallest character of each length.
    struct Form
    {
        std::uint8_t mask;
        std::uint8_t lead;
        std::uint32_t smallest;
    };
    static constexpr Form kForms[] = {
        {0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};

    const auto first = static_cast<std::uint8_t>(text[0]);
    for (std::size_t length = 1; length <= 4; ++length)
    {
        const Form& form = kForms[length - 1];
        if ((first & form.mask) != form.lead)
            continue;
        if (text.size() < length)
            return 0;
        std::uint32_t character = first & static_cast<std::uint8_t>(~form.mask);
        for (std::size_t i = 1; i < length; ++i)
        {
            const auto next = static_cast<std::uint8_t>(text[i]);
            if ((next & 0xC0) != 0x80)
                return 0;
            character = character << 6 | (next & 0x3F);
        }
        const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
        return character >= form.smallest && character <= 0x10FFFF && !isSurrogate ? length : 0;
    }
    return 0;
}

yyjson_mut_val* textValue(yyjson_mut_doc* document, const std::string& text)
{
    const std::string copy = wellFormedUtf8(text);
    return yyjson_mut_strncpy(document, copy.data(), copy.size());
}

} // namespace

std::string wellFormedUtf8(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty())
    {
        const std::size_t length = characterLength(text);
        result += length > 0 ? text.substr(0, length) : kReplacement;
        text.remove_prefix(length > 0 ? length : 1);
    }
    return result;
}

Item& Item::text(const char* key, const std::string& value)
{
    return json(key, textValue(m_document, value));
}

Item& Item::flag(const char* key, bool value)
{
    yyjson_mut_obj_add_bool(m_document, m_object, key, value);
    return *this;
}

Item& Item::integer(const char* key, int value)
{
    yyjson_mut_obj_add_int(m_document, m_object, key, value);
    return *this;
}

Item& Item::real(const char* key, double value)
{
    yyjson_mut_obj_add_real(m_document, m_object, key, value);
    return *this;
}

Item& Item::json(const char* key, yyjson_mut_val* value)
{
    yyjson_mut_obj_add_val(m_document, m_object, key, value);
    return *this;
}

Item& Item::entry(const std::string& key, const std::string& value)
{
    yyjson_mut_obj_add(m_object, textValue(m_document, key), textValue(m_document, value));
    return *this;
}

Item& Item::texts(const char* key, const std::vector<std::string>& values)
{
    yyjson_mut_val* const array = yyjson_mut_obj_add_arr(m_document, m_object, key);
    for (const std::string& value : values)
        yyjson_mut_arr_append(array, textValue(m_document, value));
    return *this;
}

Item Item::object(const char* key)
{
    return Item(m_document, yyjson_mut_obj_add_obj(m_document, m_object, key));
}

ItemList Item::items()
{
    return ItemList(m_document, yyjson_mut_obj_add_arr(m_document, m_object, "items"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
