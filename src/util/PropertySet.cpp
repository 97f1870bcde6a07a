#include "util/PropertySet.h"

#include <memory>
#include <sstream>

#include "basis/Report.h"
#include "basis/String.h"
#include "persistency/File.h"
#include "util/IOBuffer.h"

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

void Read(PropertySet* set, IOBuffer* buffer)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.PropertySet.Read");
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "Invalid io buffer");
        return;
    }
    std::string line = buffer->ReadLine();
    size_t colon = line.find(':');
    if (colon != std::string::npos)
    {
        std::string field = line.substr(0, colon);
        if (field != "value")
        {
            TLOG_ERROR(sLog, "Parse error in bestfile: " << field << " unexpected");
            return;
        }
        std::ostringstream score;
        score << atof(line.substr(colon + 1));
        set->Add("value", score.str());
        line = buffer->ReadLine();
    }
    PropertySet pairs;
    pairs.Parse(line);
    Append(set, &pairs);
}

bool Read(PropertySet* set, Persistency::File file)
{
    std::unique_ptr<IOBuffer> buffer(file.GetReadBuffer());
    if (!buffer)
        return false;
    Read(set, buffer.get());
    return true;
}

bool Write(PropertySet* set, IOBuffer* buffer)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.PropertySet.Write");
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "invalid io buffer");
        return false;
    }
    std::ostringstream text;
    text << *set;
    buffer->Puts(text.str());
    return true;
}

bool Write(PropertySet* set, Persistency::File file)
{
    std::unique_ptr<IOBuffer> buffer(file.GetWriteBuffer());
    if (!buffer)
        return false;
    return Write(set, buffer.get());
}

std::ostream& operator<<(std::ostream& out, const PropertySet& set)
{
    for (size_t i = 0; i < set.Size(); ++i)
        out << set.GetKey(i) << "=" << set.GetValue(i) << " ";
    return out;
}

} // namespace Util
} // namespace Tavlin
