#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <yyjson.h>

// Ownership of yyjson documents, and the few reads that everyone needs. No state; any thread.

namespace tavo::vms_server_plugins::analytics::orlix
{

struct JsonDeleter
{
    void operator()(yyjson_doc* document) const { yyjson_doc_free(document); }
    void operator()(yyjson_mut_doc* document) const;
};

// A parsed, immutable document; null when the text did not parse.
using JsonDocument = std::unique_ptr<yyjson_doc, JsonDeleter>;

// A document under construction.
using MutableJsonDocument = std::unique_ptr<yyjson_mut_doc, JsonDeleter>;

// Throws std::bad_alloc for want of memory, which is no fault of the text's.
[[nodiscard]] JsonDocument parseJson(std::string_view text);

// Throws std::bad_alloc. Later on what there is no memory for is left out, without a word: see
// requireWhole.
[[nodiscard]] MutableJsonDocument newJsonDocument();

// A new document that is an empty object, and that object, which lives as long as it.
[[nodiscard]] std::pair<MutableJsonDocument, yyjson_mut_val*> newJsonObject();

// To be called before a document of newJsonDocument is used: throws std::bad_alloc if something of
// it was left out.
void requireWhole(const yyjson_mut_doc* document);

// The text of a document, which is looked at likewise. Nothing when it cannot be told.
[[nodiscard]] std::optional<std::string> writeJson(
    const yyjson_mut_doc* document, yyjson_write_flag flags = YYJSON_WRITE_NOFLAG);

// The text of a string value; empty for null and for every other type. Valid while its document is.
[[nodiscard]] inline std::string_view jsonText(yyjson_val* value)
{
    return yyjson_is_str(value) ? std::string_view(yyjson_get_str(value), yyjson_get_len(value))
                                : std::string_view();
}

// The member of an object, or null when `object` is null, no object, or lacks the key.
[[nodiscard]] inline yyjson_val* jsonMember(yyjson_val* object, const char* key)
{
    return yyjson_obj_get(object, key);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
