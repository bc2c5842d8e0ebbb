#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

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

// The elements of a list, and the members of an object; none of what is neither.
[[nodiscard]] std::vector<yyjson_val*> jsonElements(yyjson_val* list);
[[nodiscard]] std::vector<std::pair<std::string, yyjson_val*>> jsonMembers(yyjson_val* object);

// An object or a list within a text that is being made. What goes in is copied, keys included; a
// number that is none goes in as null.
class JsonNode
{
public:
    template <class Value>
    JsonNode& add(std::string_view key, const Value& value)
    {
        return addValue(key, newValue(value));
    }
    template <class Value>
    void push(const Value& value)
    {
        yyjson_mut_arr_append(m_value, newValue(value));
    }
    // The members of a JSON text; null for what is none.
    JsonNode& addJson(std::string_view key, std::string_view json);

    JsonNode addObject(std::string_view key);
    JsonNode addList(std::string_view key);
    JsonNode pushObject();

protected:
    JsonNode(yyjson_mut_doc* document, yyjson_mut_val* value) :
        m_document(document),
        m_value(value)
    {}

    [[nodiscard]] yyjson_mut_val* value() const { return m_value; }

private:
    JsonNode& addValue(std::string_view key, yyjson_mut_val* value);
    [[nodiscard]] yyjson_mut_val* newText(std::string_view text) const;
    [[nodiscard]] yyjson_mut_val* newReal(double value) const;

    template <class Value>
    [[nodiscard]] yyjson_mut_val* newValue(const Value& value) const
    {
        if constexpr (std::is_same_v<Value, bool>)
            return yyjson_mut_bool(m_document, value);
        else if constexpr (std::is_integral_v<Value>)
            return yyjson_mut_sint(m_document, int64_t(value));
        else if constexpr (std::is_floating_point_v<Value>)
            return newReal(value);
        else
            return newText(value);
    }

    yyjson_mut_doc* m_document;
    yyjson_mut_val* m_value;
};

// The whole of such a text.
class JsonMaker : public JsonNode
{
public:
    JsonMaker() :
        JsonMaker(MutableJsonDocument(yyjson_mut_doc_new(nullptr)), /*isList*/ false)
    {}
    [[nodiscard]] static JsonMaker list()
    {
        return JsonMaker(MutableJsonDocument(yyjson_mut_doc_new(nullptr)), /*isList*/ true);
    }

    [[nodiscard]] std::string text() const { return toText(*m_owner); }

private:
    JsonMaker(MutableJsonDocument document, bool isList) :
        JsonNode(
            document.get(),
            isList ? yyjson_mut_arr(document.get()) : yyjson_mut_obj(document.get())),
        m_owner(std::move(document))
    {
        yyjson_mut_doc_set_root(m_owner.get(), value());
    }

    MutableJsonDocument m_owner;
};

} // namespace tavo::devkit
