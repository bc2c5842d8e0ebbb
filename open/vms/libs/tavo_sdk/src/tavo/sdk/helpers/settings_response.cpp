#include <tavo/sdk/helpers/settings_response.h>

#include <utility>

namespace tavo::sdk
{

namespace
{

void setItem(Ptr<StringMap>* map, const std::string& key, std::string value)
{
    if (!*map)
        *map = makePtr<StringMap>();
    (*map)->setItem(key, std::move(value));
}

} // namespace

void SettingsResponse::setValue(const std::string& name, std::string value)
{
    setItem(&m_values, name, std::move(value));
}

void SettingsResponse::setValues(Ptr<StringMap> values)
{
    m_values = std::move(values);
}

void SettingsResponse::setValues(const std::map<std::string, std::string>& values)
{
    m_values = makePtr<StringMap>(values);
}

void SettingsResponse::setError(const std::string& name, std::string text)
{
    setItem(&m_errors, name, std::move(text));
}

void SettingsResponse::setErrors(Ptr<StringMap> errors)
{
    m_errors = std::move(errors);
}

void SettingsResponse::setModel(std::string model)
{
    m_model = makePtr<String>(std::move(model));
}

const IStringMap* SettingsResponse::values() const
{
    return Ptr(m_values).releasePtr();
}

const IStringMap* SettingsResponse::errors() const
{
    return Ptr(m_errors).releasePtr();
}

const IString* SettingsResponse::model() const
{
    return Ptr(m_model).releasePtr();
}

} // namespace tavo::sdk
