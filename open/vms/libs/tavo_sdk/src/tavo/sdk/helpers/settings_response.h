// The answer to settings. Filled by one thread, then handed over. A part that was never set is
// null.
#pragma once

#include <map>
#include <string>

#include <tavo/sdk/helpers/string.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/i_settings_response.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk
{

class SettingsResponse : public RefCountable<ISettingsResponse>
{
public:
    void setValue(const std::string& name, std::string value); // adds or replaces
    void setValues(Ptr<StringMap> values); // replaces all
    void setValues(const std::map<std::string, std::string>& values);
    void setError(const std::string& name, std::string text); // adds or replaces
    void setErrors(Ptr<StringMap> errors); // replaces all
    void setModel(std::string model); // a JSON text

    // ISettingsResponse:
    const IStringMap* values() const override;
    const IStringMap* errors() const override;
    const IString* model() const override;

private:
    Ptr<StringMap> m_values;
    Ptr<StringMap> m_errors;
    Ptr<String> m_model;
};

} // namespace tavo::sdk
