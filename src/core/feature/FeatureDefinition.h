// The name of a feature: a base name and ordered name/value parameters, with the text
// form name_param_value that identifies an extraction in file headers and tables.
#ifndef TAVLIN_CORE_FEATURE_FEATUREDEFINITION_H
#define TAVLIN_CORE_FEATURE_FEATUREDEFINITION_H

#include <sstream>
#include <string>
#include <vector>

namespace Tavlin
{
namespace Core
{
namespace Feature
{

struct FeatureParameter
{
    std::string name;
    std::string value;
};

class FeatureDefinition
{
public:
    FeatureDefinition() : name("noName") {}
    // Splits at every "_": the first item is the name, then name/value pairs; a trailing
    // name without value is dropped.
    explicit FeatureDefinition(const std::string& text);

    // Replaces the value of an existing parameter in place, otherwise appends.
    template <class T>
    void AddParameter(const std::string& parameterName, T value)
    {
        std::ostringstream text;
        text << value;
        SetParameter(parameterName, text.str());
    }

    // The parameter's value, or `defaultValue` when there is none.
    std::string GetParameter(const std::string& parameterName, const std::string& defaultValue) const;

    std::string AsString() const;

    std::string name;
    std::vector<FeatureParameter> parameters;

private:
    void SetParameter(const std::string& parameterName, const std::string& value);
};

template <>
inline void FeatureDefinition::AddParameter<std::string>(const std::string& parameterName, std::string value)
{
    SetParameter(parameterName, value);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
