#include "basis/String.h"

#include <sstream>

namespace Tavlin
{

namespace
{
template <class T>
T Extract(const std::string& text)
{
    std::istringstream in(text);
    T value = 0;
    if (!(in >> value))
        return 0;
    return value;
}
} // namespace

int atoi(const std::string& text)
{
    return Extract<int>(text);
}

int64_t atol(const std::string& text)
{
    return Extract<int64_t>(text);
}

double atof(const std::string& text)
{
    return Extract<double>(text);
}

bool StringStartsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0 && text.size() >= prefix.size();
}

bool StringEndsWith(const std::string& text, const std::string& suffix)
{
    if (suffix.size() > text.size())
        return false;
    return text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

void StringEraseFirst(std::string& text, const std::string& what)
{
    const size_t at = text.find(what);
    if (at != std::string::npos)
        text.erase(at, what.size());
}

std::string StringTail(const std::string& text, char separator, bool keepSeparator)
{
    size_t pos = text.find(separator);
    if (pos == std::string::npos)
        return "";
    return text.substr(keepSeparator ? pos : pos + 1);
}

std::string StringReplaceAll(std::string& text, const std::string& what, const std::string& with,
                             bool fromStart, size_t position)
{
    if (what.empty())
        return text;
    size_t searchFrom = position;
    while (searchFrom <= text.size())
    {
        size_t found = text.find(what, searchFrom);
        if (found == std::string::npos)
            break;
        text.replace(found, what.size(), with);
        searchFrom = fromStart ? position : found + what.size();
    }
    return text;
}

} // namespace Tavlin
