#include "util/DefaultFloatText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using Tavlin::Util::AppendDefaultFloat;
using Tavlin::Util::FormatDefaultFloat;

namespace
{

std::string StreamText(double value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

std::string FastText(double value)
{
    std::string text;
    AppendDefaultFloat(text, value);
    return text;
}

double FromBits(uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

// Counts the values whose texts differ, reporting the first few.
int Mismatches(const std::vector<double>& values)
{
    int count = 0;
    for (double v : values)
    {
        const std::string expected = StreamText(v);
        const std::string actual = FastText(v);
        if (expected != actual && ++count <= 5)
            ADD_FAILURE() << "value " << std::hexfloat << v << ": stream \"" << expected << "\", fast \"" << actual
                          << "\"";
    }
    return count;
}

} // namespace

TEST(DefaultFloatText, MatchesTheStreamOnSpecialValues)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> values = {
        0.0, -0.0, 1.0, -1.0, nan, -nan, inf, -inf,
        std::numeric_limits<double>::denorm_min(), -std::numeric_limits<double>::denorm_min(),
        std::numeric_limits<double>::min(), std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(),
        std::numeric_limits<double>::epsilon(),
        // Where the exponent form begins and ends.
        0.0001, 0.000099999, 0.0000999995, 0.00009999949, 1e-5, 999999.0, -999999.0, 999999.4, 999999.5,
        999999.49999999, 1e6, -1e6, 1e6 + 1, 123456.5, 123457.5, 1234567.0, 1e15, 1e16, 9007199254740993.0,
        // Six significant digits and their rounding.
        3.14159265358979, 2.5, 0.5, 0.1, 0.3, 1.0000005, 1.0000015, 9.9999949, 9.999995, 0.00123, 1.6, 91.0,
        192.0, 1e-7, 1.5e-300, 1e300, 1e21, 1e22, 123456789.0, -0.000123456789, 65536.0, 4294967296.0,
        static_cast<double>(1.1f), static_cast<double>(0.2f)};
    EXPECT_EQ(Mismatches(values), 0);
    EXPECT_EQ(FastText(-0.0), "-0");
    EXPECT_EQ(FastText(1e6), "1e+06");
    EXPECT_EQ(FastText(999999.0), "999999");
}

TEST(DefaultFloatText, MatchesTheStreamOnManyValues)
{
    std::vector<double> values;
    uint64_t state = 0x9e3779b97f4a7c15ULL;
    auto next = [&state]() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    // Any bit pattern: every exponent, subnormals, NaN payloads.
    for (int i = 0; i < 100000; ++i)
        values.push_back(FromBits(next()));
    // Descriptor-like values in [0, 1) and small integers with fractions.
    for (int i = 0; i < 50000; ++i)
        values.push_back(static_cast<double>(next() >> 11) / 9007199254740992.0);
    for (int i = 0; i < 20000; ++i)
        values.push_back(static_cast<double>(static_cast<int64_t>(next() % 4000001) - 2000000) / 8.0);
    // Seven-digit decimals ending in 5: halfway in decimal, never quite in binary.
    for (int i = 0; i < 50000; ++i)
    {
        const double digits = static_cast<double>((next() % 900000) * 10 + 1000005);
        const int exponent = static_cast<int>(next() % 40) - 20;
        values.push_back(digits * std::pow(10.0, exponent - 6));
    }
    // Fixed notation, 1e-4 to 1e6, spread over every decade.
    for (int i = 0; i < 100000; ++i)
    {
        const double mantissa = 1.0 + static_cast<double>(next() >> 11) / 1e16;
        values.push_back((i % 2 ? -1.0 : 1.0) * mantissa * std::pow(10.0, static_cast<int>(next() % 10) - 4));
    }
    // Exact halves at the sixth digit (ties to even), and their neighbours.
    for (int k = 100000; k < 1000000; k += 37)
    {
        const double tie = k + 0.5;
        values.push_back(tie);
        values.push_back(std::nextafter(tie, 0.0));
        values.push_back(std::nextafter(tie, 1e9));
        values.push_back(k + 0.25);
        values.push_back(tie / 1024.0);
    }
    values.push_back(999999.5);
    values.push_back(99999.95);
    values.push_back(0.000999999500);
    // Neighbours of powers of ten, where the digit count changes.
    for (int e = -310; e <= 308; ++e)
    {
        const double p = std::pow(10.0, e);
        values.push_back(p);
        values.push_back(std::nextafter(p, 0.0));
        values.push_back(std::nextafter(p, 1e308));
        values.push_back(-p);
    }
    EXPECT_EQ(Mismatches(values), 0);
}

TEST(DefaultFloatText, FormatReturnsTheLengthWithoutTerminator)
{
    char buffer[Tavlin::Util::sDefaultFloatTextMax + 1];
    std::memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(FormatDefaultFloat(-1.23456789e-300, buffer), 13);
    EXPECT_EQ(std::string(buffer, 13), "-1.23457e-300");
    EXPECT_EQ(buffer[13], 'x');
}
