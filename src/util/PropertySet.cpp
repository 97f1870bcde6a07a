#include "util/PropertySet.h"

#include <sstream>

#include "basis/String.h"

namespace Tavlin
{
namespace Util
{

void PropertySet::Add(const std::string& key, const std::string& value)
{
    for (size_t i = 0; i < mKeys.size(); ++i)
    {
        if (mKeys[i] == key)
        {
            mValues[i] = value;
            return;
        }
    }
    mKeys.push_back(key);
    mValues.push_back(value);
}

std::string PropertySet::GetString(const std::string& key, std::string defaultValue) const
{
    for (size_t i = 0; i < mKeys.size(); ++i)
        if (mKeys[i] == key)
            return mValues[i];
    return defaultValue;
}

int PropertySet::GetInt(const std::string& key, int defaultValue) const
{
    std::string value = GetString(key, "");
    if (value.empty())
        return defaultValue;
    return atoi(value);
}

bool PropertySet::GetBool(const std::string& key) const
{
    std::string value = GetString(key, "");
    return !(value.empty() || value == "0" || value == "false" || value == "no");
}

void PropertySet::Parse(const std::string& text)
{
    mKeys.clear();
    mValues.clear();
    std::istringstream in(text);
    std::string word;
    while (in >> word)
    {
        if (word.empty())
            break;
        size_t eq = word.find('=');
        if (eq == std::string::npos)
            break;
        Add(word.substr(0, eq), word.substr(eq + 1));
    }
}

void Append(PropertySet* target, const PropertySet* source)
{
    for (size_t i = 0; i < source->Size(); ++i)
        target->Add(source->GetKey(i), source->GetValue(i));
}

std::ostream& operator<<(std::ostream& out, const PropertySet& set)
{
    for (size_t i = 0; i < set.Size(); ++i)
        out << set.GetKey(i) << "=" << set.GetValue(i) << " ";
    return out;
}

} // namespace Util
} // namespace Tavlin
