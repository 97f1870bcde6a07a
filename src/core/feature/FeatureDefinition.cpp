#include "core/feature/FeatureDefinition.h"

#include "basis/StringList.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

FeatureDefinition::FeatureDefinition(const std::string& text)
{
    StringList items(text, '_', false);
    name = items[0];
    for (size_t i = 1; i + 1 < items.size(); i += 2)
        AddParameter(items[i], items[i + 1]);
}

void FeatureDefinition::SetParameter(const std::string& parameterName, const std::string& value)
{
    for (FeatureParameter& parameter : parameters)
    {
        if (parameter.name == parameterName)
        {
            parameter.value = value;
            return;
        }
    }
    parameters.push_back(FeatureParameter{parameterName, value});
}

std::string FeatureDefinition::GetParameter(const std::string& parameterName, const std::string& defaultValue) const
{
    for (const FeatureParameter& parameter : parameters)
        if (parameter.name == parameterName)
            return parameter.value;
    return defaultValue;
}

std::string FeatureDefinition::AsString() const
{
    std::string text = name;
    for (const FeatureParameter& parameter : parameters)
        text += "_" + parameter.name + "_" + parameter.value;
    return text;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
