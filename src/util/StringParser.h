// A cursor over a copy of a text that reads delimited fields, one call a field.
#ifndef TAVLIN_UTIL_STRINGPARSER_H
#define TAVLIN_UTIL_STRINGPARSER_H

#include <cstdint>
#include <string>

namespace Tavlin
{
namespace Util
{

class StringParser
{
public:
    explicit StringParser(const std::string& text, uint64_t position = 0);

    // The next field up to the delimiter. A delimiter at the cursor (after blanks) is
    // stepped over first, so a doubled delimiter counts once.
    std::string GetString(char delimiter, bool warn = true);
    int GetInt(char delimiter, bool warn = true, bool skipDelimiter = true);
    double GetDouble(char delimiter, bool warn = true, bool skipDelimiter = true);

    bool IsEnd() const { return mPosition == std::string::npos || mPosition >= mLength; }
    uint64_t GetPosition() const { return mPosition; }

private:
    std::string NextField(char delimiter, bool warn, const char* logLine, bool skipDelimiter);

    std::string mString;
    uint64_t mLength;
    uint64_t mPosition;
};

} // namespace Util
} // namespace Tavlin

#endif
