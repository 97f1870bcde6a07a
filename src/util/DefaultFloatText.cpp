#include "util/DefaultFloatText.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace Tavlin
{
namespace Util
{

namespace
{

// 10^(5 - e) for e = -4 .. 5: all exact doubles.
const double sScale[10] = {1e9, 1e8, 1e7, 1e6, 1e5, 1e4, 1e3, 1e2, 1e1, 1e0};
// Lower bounds of the decades e = -4 .. 5, as doubles; a value just beside a bound
// may land in the wrong decade, which the range test on the scaled value catches.
const double sDecade[10] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5};

char* WriteInteger(char* p, unsigned long long magnitude)
{
    char digits[20];
    int count = 0;
    do
    {
        digits[count++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude);
    while (count)
        *p++ = digits[--count];
    return p;
}

// Fixed notation for 1e-4 <= |value| < 1e6, where "%.6g" does not use an exponent.
// Scaling to six integer digits costs one rounding of at most 2^-33 there; only when
// the fraction is that close to one half could the rounded digits differ from those of
// the exact value, and such values (with exact ties) are left to the general path.
// Returns 0 when the value is not handled.
int FormatFixed(double value, char* out)
{
    const double magnitude = std::fabs(value);
    int decade = 9;
    while (decade > 0 && magnitude < sDecade[decade])
        --decade;
    const double scaled = magnitude * sScale[decade];
    if (scaled < 100000.0)
        return 0;
    const double whole = std::floor(scaled);
    const double fraction = scaled - whole;
    if (std::fabs(fraction - 0.5) < 1e-9)
        return 0;
    const long long rounded = static_cast<long long>(whole) + (fraction > 0.5 ? 1 : 0);
    if (rounded > 999999)
        return 0;

    char digits[6];
    long long rest = rounded;
    for (int i = 5; i >= 0; --i)
    {
        digits[i] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    }
    int used = 6;
    while (used > 1 && digits[used - 1] == '0')
        --used;

    char* p = out;
    if (value < 0)
        *p++ = '-';
    const int exponent = decade - 4;
    if (exponent >= 0)
    {
        const int integerDigits = exponent + 1;
        for (int i = 0; i < integerDigits; ++i)
            *p++ = digits[i];
        if (used > integerDigits)
        {
            *p++ = '.';
            for (int i = integerDigits; i < used; ++i)
                *p++ = digits[i];
        }
    }
    else
    {
        *p++ = '0';
        *p++ = '.';
        for (int i = -1; i > exponent; --i)
            *p++ = '0';
        for (int i = 0; i < used; ++i)
            *p++ = digits[i];
    }
    return static_cast<int>(p - out);
}

// The digits of 0 .. 999, three a number from the end of four bytes whose first holds
// the count: descriptor files are mostly such numbers.
struct SmallWholeNumbers
{
    char text[1000][4];

    constexpr SmallWholeNumbers() : text{}
    {
        for (int n = 0; n < 1000; ++n)
        {
            char* digits = text[n];
            digits[0] = static_cast<char>(n >= 100 ? 3 : n >= 10 ? 2 : 1);
            digits[1] = static_cast<char>('0' + n / 100);
            digits[2] = static_cast<char>('0' + n / 10 % 10);
            digits[3] = static_cast<char>('0' + n % 10);
        }
    }
};

constexpr SmallWholeNumbers sSmallWholeNumbers;

} // namespace

int FormatDefaultFloat(double value, char* out)
{
    // Not -0.0, which keeps its sign below.
    if (value >= 0.0 && value < 1000.0 && !std::signbit(value))
    {
        const int whole = static_cast<int>(value);
        if (static_cast<double>(whole) == value)
        {
            const char* digits = sSmallWholeNumbers.text[whole];
            const int count = digits[0];
            std::memcpy(out, digits + 4 - count, 3);
            return count;
        }
    }
    if (value > -1e6 && value < 1e6)
    {
        // Integral values have at most six digits here, so they print exactly and
        // without a point; zero keeps its sign.
        const long long whole = static_cast<long long>(value);
        if (static_cast<double>(whole) == value)
        {
            char* p = out;
            if (std::signbit(value))
                *p++ = '-';
            p = WriteInteger(p, static_cast<unsigned long long>(whole < 0 ? -whole : whole));
            return static_cast<int>(p - out);
        }
        if (value >= 1e-4 || value <= -1e-4)
        {
            const int length = FormatFixed(value, out);
            if (length > 0)
                return length;
        }
    }
    const std::to_chars_result result =
        std::to_chars(out, out + sDefaultFloatTextMax, value, std::chars_format::general, 6);
    return static_cast<int>(result.ptr - out);
}

void AppendDefaultFloat(std::string& text, double value)
{
    char buffer[sDefaultFloatTextMax];
    text.append(buffer, static_cast<size_t>(FormatDefaultFloat(value, buffer)));
}

} // namespace Util
} // namespace Tavlin
