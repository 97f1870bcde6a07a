#include "util/StringParser.h"

#include <algorithm>

#include "basis/Report.h"
#include "basis/String.h"

namespace Tavlin
{
namespace Util
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.StringParser");
}

StringParser::StringParser(const std::string& text, uint64_t position)
    : mString(text), mLength(text.size()), mPosition(std::min<uint64_t>(position, text.size()))
{
}

std::string StringParser::NextField(char delimiter, bool warn, const char* logLine, bool skipDelimiter)
{
    while (mPosition < mLength && mString[mPosition] == ' ')
        ++mPosition;
    if (mPosition < mLength && mString[mPosition] == delimiter)
        ++mPosition;
    size_t found = mString.find(delimiter, mPosition);
    if (found == std::string::npos)
    {
        if (warn)
            TLOG_INFO(sLog, logLine);
        std::string field = mString.substr(mPosition);
        mPosition = mLength;
        return field;
    }
    std::string field = mString.substr(mPosition, found - mPosition);
    mPosition = skipDelimiter ? found + 1 : found;
    return field;
}

std::string StringParser::GetString(char delimiter, bool warn)
{
    return NextField(delimiter, warn, "[GetString] delim not found", true);
}

int StringParser::GetInt(char delimiter, bool warn, bool skipDelimiter)
{
    return atoi(NextField(delimiter, warn, "[GetInt] delim not found", skipDelimiter));
}

double StringParser::GetDouble(char delimiter, bool warn, bool skipDelimiter)
{
    return atof(NextField(delimiter, warn, "[GetInt] delim not found", skipDelimiter));
}

} // namespace Util
} // namespace Tavlin
