#include "common/json.h"

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

std::string jsonString(std::string_view text)
{
    const MutableJsonDocument document(yyjson_mut_doc_new(nullptr));
    yyjson_mut_doc_set_root(document.get(), newString(document.get(), text));
    return toText(*document);
}

yyjson_mut_val* newString(yyjson_mut_doc* document, std::string_view text)
{
    return yyjson_mut_strncpy(document, text.data(), text.size());
}

void addString(
    yyjson_mut_doc* document, yyjson_mut_val* object, const char* key, std::string_view text)
{
    yyjson_mut_obj_add_strncpy(document, object, key, text.data(), text.size());
}

} // namespace tavo::devkit
