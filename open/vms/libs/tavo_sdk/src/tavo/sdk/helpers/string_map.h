// Texts by text. A map that is being filled belongs to one thread.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_string_map.h>

namespace tavo::sdk
{

class StringMap : public RefCountable<IStringMap>
{
public:
    StringMap() = default;
    explicit StringMap(const std::map<std::string, std::string>& values);

    // Adds or replaces. An empty key is an error: it is reported and nothing is stored.
    void setItem(const std::string& key, std::string value);

    // IStringMap:
    int count() const override;
    const char* key(int index) const override;
    const char* value(const char* key) const override;
    const char* valueAt(int index) const override;

private:
    using Item = std::pair<std::string, std::string>;
    const Item* item(int index) const;

    std::vector<Item> m_items; // sorted by key, so that an index costs nothing
};

// Replaces `outMap` with the content of `stringMap`. False, with `outMap` as it was, if
// `stringMap` is null or broken (a key or a value is missing at an index below its count).
[[nodiscard]] bool toStdMap(
    const IStringMap* stringMap, std::map<std::string, std::string>* outMap);

} // namespace tavo::sdk
