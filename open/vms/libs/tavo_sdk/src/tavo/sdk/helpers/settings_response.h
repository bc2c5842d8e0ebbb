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
    Ptr<StringMap> m_values;
    Ptr<StringMap> m_errors;
    Ptr<String> m_model;
};

} // namespace tavo::sdk
