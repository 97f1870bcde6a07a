// Text to numbers and small string helpers. Conversions never fail loudly: text that
// does not start like a number gives 0, and trailing text is ignored.
#ifndef TAVLIN_BASIS_STRING_H
#define TAVLIN_BASIS_STRING_H

#include <cstdint>
#include <string>

namespace Tavlin
{

int atoi(const std::string& text);
int64_t atol(const std::string& text);
double atof(const std::string& text);

bool StringStartsWith(const std::string& text, const std::string& prefix);
bool StringEndsWith(const std::string& text, const std::string& suffix);

// Deletes the first occurrence of `what`, if any, in place.
void StringEraseFirst(std::string& text, const std::string& what);

// The part from the first separator on, with or without the separator itself; empty
// when the separator does not occur.
std::string StringTail(const std::string& text, char separator, bool keepSeparator);

// Replaces every occurrence of `what` from `position` on, in place, and returns a copy.
// With `fromStart` each search starts again at `position`, so a replacement can match.
std::string StringReplaceAll(std::string& text, const std::string& what, const std::string& with,
                             bool fromStart = false, size_t position = 0);

} // namespace Tavlin

#endif
