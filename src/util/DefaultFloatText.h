// The text that a default-formatted output stream gives for a double (precision 6,
// neither fixed nor scientific, as printf's "%.6g"), without building a stream for
// each number: integers below a million are written directly, fixed notation is built
// from six rounded digits when the rounding is beyond doubt, and everything else goes
// through std::to_chars, which is specified to match printf. Text files of descriptors
// hold millions of such numbers.
#ifndef TAVLIN_UTIL_DEFAULTFLOATTEXT_H
#define TAVLIN_UTIL_DEFAULTFLOATTEXT_H

#include <string>

namespace Tavlin
{
namespace Util
{

// Longest text: sign, 6 digits, point, "e-308", or "-nan".
const int sDefaultFloatTextMax = 16;

// Writes the text to out (at least sDefaultFloatTextMax bytes, no terminator) and
// returns its length.
int FormatDefaultFloat(double value, char* out);

void AppendDefaultFloat(std::string& text, double value);

} // namespace Util
} // namespace Tavlin

#endif
