#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <yyjson.h>

// Writes the items of a settings dialog into a JSON document, keys in the order of the calls.
// All objects here are handles: they live as long as the document.

namespace tavo::vms_server_plugins::analytics::orlix
{

class ItemList;

class Item
{
public:
    Item(yyjson_mut_doc* document, yyjson_mut_val* object) :
        m_document(document),
        m_object(object)
    {}

    // The literal is not copied.
    template <std::size_t size>
    Item& text(const char* key, const char (&literal)[size])
    {
        yyjson_mut_obj_add_str(m_document, m_object, key, literal);
        return *this;
    }

    // Copied; what is not UTF-8 in it is replaced, as it would cost the whole dialog.
    Item& text(const char* key, const std::string& value);
    Item& flag(const char* key, bool value);
    Item& integer(const char* key, int value);
    Item& real(const char* key, double value);
    Item& json(const char* key, yyjson_mut_val* value);

    // For a key that is not known beforehand; copied as above.
    Item& entry(const std::string& key, const std::string& value);

    // An empty list under "items".
    ItemList items();

    // An empty object under `key`.
    Item object(const char* key);

    // An array of texts, copied as above.
    Item& texts(const char* key, const std::vector<std::string>& values);

    // One that the host reports at once when it is worked; as a text, which the host expects.
    Item& active() { return text("isActive", "true"); }

private:
    yyjson_mut_doc* m_document;
    yyjson_mut_val* m_object;
};

class ItemList
{
public:
    ItemList(yyjson_mut_doc* document, yyjson_mut_val* array) :
        m_document(document),
        m_array(array)
    {}

    template <std::size_t size>
    Item add(const char (&type)[size])
    {
        return Item(m_document, yyjson_mut_arr_add_obj(m_document, m_array)).text("type", type);
    }

    // A button is active, a group takes items of its own.
    template <typename Name, typename Caption, typename Description>
    Item addButton(const Name& name, const Caption& caption, const Description& description)
    {
        Item button = add("Button").text("name", name).text("caption", caption);
        return button.text("description", description).active();
    }

    template <typename Caption>
    ItemList addGroup(const Caption& caption, bool visible)
    {
        return add("GroupBox").text("caption", caption).flag("visible", visible).items();
    }

    template <std::size_t size, typename Text>
    void addBanner(const char (&icon)[size], const Text& text)
    {
        add("Banner").text("icon", icon).text("text", text);
    }

    template <std::size_t captionSize, std::size_t urlSize>
    void addLink(const char (&caption)[captionSize], const char (&url)[urlSize])
    {
        add("Link").text("caption", caption).text("url", url);
    }

    [[nodiscard]] yyjson_mut_doc* document() const { return m_document; }

private:
    yyjson_mut_doc* m_document;
    yyjson_mut_val* m_array;
};

// `text` with U+FFFD for every byte that belongs to no whole UTF-8 character.
[[nodiscard]] std::string wellFormedUtf8(std::string_view text);

} // namespace tavo::vms_server_plugins::analytics::orlix
