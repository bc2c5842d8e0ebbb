#pragma once

#include <string>
#include <utility>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_attribute.h>

namespace tavo::sdk
{

// Constant after construction.
class Attribute : public RefCountable<IAttribute>
{
public:
    Attribute(
        std::string name, std::string value, float confidence = 1.0F, int type = kUndefinedType) :
        m_type(type),
        m_name(std::move(name)),
        m_value(std::move(value)),
        m_confidence(confidence)
    {}

    // IAttribute:
    int type() const override { return m_type; }
    const char* name() const override { return m_name.c_str(); }
    const char* value() const override { return m_value.c_str(); }
    float confidence() const override { return m_confidence; }

private:
    const int m_type;
    const std::string m_name;
    const std::string m_value;
    const float m_confidence;
};

} // namespace tavo::sdk
