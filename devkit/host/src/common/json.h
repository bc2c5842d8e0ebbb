#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <yyjson.h>

// Ownership of yyjson documents and the few reads and writes that the host needs. No state; any
// thread.

namespace tavo::devkit
{

struct JsonDeleter
{
    void operator()(yyjson_doc* document) const { yyjson_doc_free(document); }
    void operator()(yyjson_mut_doc* document) const { yyjson_mut_doc_free(document); }
};

using JsonDocument = std::unique_ptr<yyjson_doc, JsonDeleter>;
using MutableJsonDocument = std::unique_ptr<yyjson_mut_doc, JsonDeleter>;

// Null when the text is no JSON.
[[nodiscard]] JsonDocument parseJson(std::string_view text);

// The same, but throws std::runtime_error naming `what` and the place of the fault.
[[nodiscard]] JsonDocument parseJsonOrThrow(std::string_view text, std::string_view what);

// Compact, on one line. Bytes that are no UTF-8 are written as they are.
[[nodiscard]] std::string toText(yyjson_val* value);
[[nodiscard]] std::string toText(const yyjson_mut_doc& document);

// The string member `key` of `object`; `fallback` for anything else, a null object included.
[[nodiscard]] std::string stringMember(
    yyjson_val* object, const char* key, std::string_view fallback = {});

// The text as a JSON string, with its quotation marks.
[[nodiscard]] std::string jsonString(std::string_view text);

// A string value that is copied into `document`.
[[nodiscard]] yyjson_mut_val* newString(yyjson_mut_doc* document, std::string_view text);

// Adds the member `key`, which must outlive the document, with a copy of `text`.
void addString(
    yyjson_mut_doc* document, yyjson_mut_val* object, const char* key, std::string_view text);

} // namespace tavo::devkit
