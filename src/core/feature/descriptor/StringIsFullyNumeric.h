// The digit test used when descriptor names carry a number at their end, such as the
// norm exponent in "rgbn1sift".
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_STRINGISFULLYNUMERIC_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_STRINGISFULLYNUMERIC_H

#include <string>

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// True when every character is one of 0 to 9, and for the empty string.
bool StringIsFullyNumeric(const std::string& text);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
