#include "common/json.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace tavo::devkit
{

namespace
{

std::string takeText(char* text, size_t size)
{
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    return text ? std::string(text, size) : std::string();
}

} // namespace

JsonDocument parseJson(std::string_view text)
{
    return JsonDocument(yyjson_read(text.data(), text.size(), YYJSON_READ_NOFLAG));
}

JsonDocument parseJsonOrThrow(std::string_view text, std::string_view what)
{
    yyjson_read_err error{};
    // The reader takes a writable buffer but leaves it alone without YYJSON_READ_INSITU.
    JsonDocument document(yyjson_read_opts(
        const_cast<char*>(text.data()), text.size(), YYJSON_READ_NOFLAG, nullptr, &error));
    if (!document)
    {
        throw std::runtime_error(
            std::string(what) + ": " + error.msg + " at byte " + std::to_string(error.pos));
    }
    return document;
}

std::string toText(yyjson_val* value)
{
    size_t size = 0;
    char* const text =
        yyjson_val_write_opts(value, YYJSON_WRITE_ALLOW_INVALID_UNICODE, nullptr, &size, nullptr);
    return takeText(text, size);
}

std::string toText(const yyjson_mut_doc& document)
{
    size_t size = 0;
    char* const text = yyjson_mut_write_opts(
        &document, YYJSON_WRITE_ALLOW_INVALID_UNICODE, nullptr, &size, nullptr);
    return takeText(text, size);
}

std::string stringMember(yyjson_val* object, const char* key, std::string_view fallback)
{
    yyjson_val* const value = yyjson_obj_get(object, key);
    if (!yyjson_is_str(value))
        return std::string(fallback);
    return {yyjson_get_str(value), yyjson_get_len(value)};
}

std::vector<yyjson_val*> jsonElements(yyjson_val* list)
{
    std::vector<yyjson_val*> elements;
    yyjson_arr_iter next = yyjson_arr_iter_with(list);
    while (yyjson_val* const element = yyjson_arr_iter_next(&next))
        elements.push_back(element);
    return elements;
}

std::vector<std::pair<std::string, yyjson_val*>> jsonMembers(yyjson_val* object)
{
    std::vector<std::pair<std::string, yyjson_val*>> members;
    yyjson_obj_iter next = yyjson_obj_iter_with(object);
    while (yyjson_val* const key = yyjson_obj_iter_next(&next))
        members.emplace_back(
            std::string(yyjson_get_str(key), yyjson_get_len(key)), yyjson_obj_iter_get_val(key));
    return members;
}

JsonNode& JsonNode::addJson(std::string_view key, std::string_view json)
{
    const JsonDocument document = parseJson(json);
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    return addValue(
        key, root ? yyjson_val_mut_copy(m_document, root) : yyjson_mut_null(m_document));
}

JsonNode JsonNode::addObject(std::string_view key)
{
    const JsonNode node(m_document, yyjson_mut_obj(m_document));
    addValue(key, node.m_value);
    return node;
}

JsonNode JsonNode::addList(std::string_view key)
{
    const JsonNode node(m_document, yyjson_mut_arr(m_document));
    addValue(key, node.m_value);
    return node;
}

JsonNode JsonNode::pushObject()
{
    return {m_document, yyjson_mut_arr_add_obj(m_document, m_value)};
}

JsonNode& JsonNode::addValue(std::string_view key, yyjson_mut_val* value)
{
    yyjson_mut_obj_add(m_value, newText(key), value);
    return *this;
}

yyjson_mut_val* JsonNode::newText(std::string_view text) const
{
    return yyjson_mut_strncpy(m_document, text.data(), text.size());
}

// As many digits as a 32-bit float is worth.
yyjson_mut_val* JsonNode::newReal(double value) const
{
    if (!std::isfinite(value))
        return yyjson_mut_null(m_document);
    char text[32];
    std::snprintf(text, sizeof(text), "%.6g", value);
    return yyjson_mut_rawcpy(m_document, text);
}

} // namespace tavo::devkit
