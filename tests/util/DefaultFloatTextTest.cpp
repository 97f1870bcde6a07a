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

TEST(DefaultFloatText, MatchesStreamFormattingOnTrickyAndRandomValues)
{
    typedef std::numeric_limits<double> Limits;
    // Specials, and the edges of the exponent form; the loops below add the rest.
    std::vector<double> values = {0.0, -0.0, Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(),
                                  -Limits::infinity(), Limits::denorm_min(), -Limits::max(), 0.0000999995,
                                  999999.5, 99999.95, 9007199254740993.0, static_cast<double>(1.1f)};
    uint64_t state = 0x9e3779b97f4a7c15ULL;
    auto next = [&state]() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    for (int i = 0; i < 100000; ++i)
    {
        // Any bit pattern: every exponent, subnormals, NaN payloads.
        const uint64_t bits = next();
        double any;
        std::memcpy(&any, &bits, sizeof(any));
        values.push_back(any);
        // Descriptor-like values in [0, 1); fixed notation over every decade.
        values.push_back(static_cast<double>(next() >> 11) / 9007199254740992.0);
        values.push_back((1.0 + static_cast<double>(next() >> 11) / 1e16) * std::pow(10.0, int(next() % 10) - 4));
        // Seven-digit decimals ending in 5: halfway in decimal, never quite in binary.
        values.push_back(static_cast<double>((next() % 900000) * 10 + 1000005) * std::pow(10.0, int(next() % 40) - 26));
    }
    // Exact halves at the sixth digit (ties to even) and their neighbours.
    for (int k = 100000; k < 1000000; k += 37)
        for (double tie : {k + 0.5, (k + 0.5) / 1024.0})
            values.insert(values.end(), {tie, std::nextafter(tie, 0.0), std::nextafter(tie, 1e9)});
    // Whole numbers around those that descriptors hold, and their neighbours.
    for (int k = -1001; k <= 1001; ++k)
        values.insert(values.end(), {double(k), std::nextafter(double(k), -1e9), std::nextafter(double(k), 1e9)});
    // Neighbours of powers of ten, where the digit count changes.
    for (int e = -310; e <= 308; ++e)
    {
        const double p = std::pow(10.0, e);
        values.insert(values.end(), {p, -p, std::nextafter(p, 0.0), std::nextafter(p, 1e308)});
    }

    int mismatches = 0;
    for (double v : values)
    {
        std::ostringstream stream;
        stream << v;
        std::string fast;
        AppendDefaultFloat(fast, v);
        if (fast != stream.str() && ++mismatches <= 5)
            ADD_FAILURE() << std::hexfloat << v << ": stream \"" << stream.str() << "\", fast \"" << fast << "\"";
    }
    EXPECT_EQ(mismatches, 0);

    // The buffer form returns the length and writes no terminator.
    char buffer[Tavlin::Util::sDefaultFloatTextMax + 1];
    std::memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(Tavlin::Util::FormatDefaultFloat(-1.23456789e-300, buffer), 13);
    EXPECT_EQ(std::string(buffer, 14), "-1.23457e-300x");
}
