#include <tavo/sdk/helpers/string_map.h>

#include <algorithm>
#include <string_view>

#include <tavo/kit/debug.h>

namespace tavo::sdk
{

namespace
{

template <class Items>
auto lowerBound(Items& items, std::string_view key)
{
    return std::lower_bound(
        items.begin(), items.end(), key,
        [](const auto& item, std::string_view wanted) { return item.first < wanted; });
}

} // namespace

StringMap::StringMap(const std::map<std::string, std::string>& values)
{
    for (const auto& [key, value] : values)
        setItem(key, value); // in order, so each goes to the end
}

void StringMap::setItem(const std::string& key, std::string value)
{
    if (!kit::verify(!key.empty(), "!key.empty()"))
        return;

    const auto position = lowerBound(m_items, key);
    if (position != m_items.end() && position->first == key)
        position->second = std::move(value);
    else
        m_items.emplace(position, key, std::move(value));
}

int StringMap::count() const
{
    return static_cast<int>(m_items.size());
}

const char* StringMap::key(int index) const
{
    const Item* const found = item(index);
    return found ? found->first.c_str() : nullptr;
}

const char* StringMap::value(const char* key) const
{
    if (!key)
        return nullptr;
    const auto position = lowerBound(m_items, key);
    return position != m_items.end() && position->first == key ? position->second.c_str() : nullptr;
}

const char* StringMap::valueAt(int index) const
{
    const Item* const found = item(index);
    return found ? found->second.c_str() : nullptr;
}

const StringMap::Item* StringMap::item(int index) const
{
    return index >= 0 && index < count() ? &m_items[static_cast<size_t>(index)] : nullptr;
}

bool toStdMap(const IStringMap* stringMap, std::map<std::string, std::string>* outMap)
{
    if (!stringMap)
        return false;

    std::map<std::string, std::string> result;
    const int count = stringMap->count();
    for (int i = 0; i < count; ++i)
    {
        const char* const key = stringMap->key(i);
        const char* const value = stringMap->valueAt(i);
        if (!key || !value)
            return false;
        result[key] = value;
    }
    outMap->swap(result);
    return true;
}

} // namespace tavo::sdk
