// The answer to settings. Filled by one thread, then handed over. A part that was never set is
// null.
#pragma once

#include <map>
#include <string>
#include <utility>

#include <tavo/sdk/helpers/string.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/i_settings_response.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk
{

class SettingsResponse : public RefCountable<ISettingsResponse>
{
public:
    // Each adds or replaces one.
    void setValue(const std::string& name, std::string value)
    {
        setItem(&m_values, name, std::move(value));
    }
    void setError(const std::string& name, std::string text)
    {
        setItem(&m_errors, name, std::move(text));
    }

    void setValues(Ptr<StringMap> values) { m_values = std::move(values); }
    void setValues(const std::map<std::string, std::string>& values)
    {
        m_values = makePtr<StringMap>(values);
    }
    void setErrors(Ptr<StringMap> errors) { m_errors = std::move(errors); }
    void setModel(std::string model) { m_model = makePtr<String>(std::move(model)); } // JSON

    // ISettingsResponse:
    const IStringMap* values() const override { return Ptr(m_values).releasePtr(); }
    const IStringMap* errors() const override { return Ptr(m_errors).releasePtr(); }
    const IString* model() const override { return Ptr(m_model).releasePtr(); }

private:
    static void setItem(Ptr<StringMap>* map, const std::string& key, std::string value)
    {
        if (!*map)
            *map = makePtr<StringMap>();
        (*map)->setItem(key, std::move(value));
    }

    Ptr<StringMap> m_values;
    Ptr<StringMap> m_errors;
    Ptr<String> m_model;
};

} // namespace tavo::sdk
