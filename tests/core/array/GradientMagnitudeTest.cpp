#include "core/array/GradientMagnitude.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

// The vector loop against the library's square root, bit for bit, on runs of every
// length from 0 to 11 (whole vectors and the values left over), with zeros of both
// signs, subnormals, overflowing squares, infinities and values that are not numbers.
TEST(GradientMagnitude, EqualsTheLibrarySquareRootBitForBit)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> gx = {3.0, -0.0, 1e-310, 1e200, -inf, nan, 0.1, -7.25, 1e-160, 2.5, 0.0, -1e154};
    const std::vector<double> gy = {4.0, 0.0, -2e-310, 1e200, 1.0, 2.0, 0.2, 1e-3, 1e-160, -2.5, -0.0, 1e154};
    for (size_t count = 0; count < gx.size(); ++count)
    {
        for (size_t offset = 0; offset + count <= gx.size(); offset += 5)
        {
            std::vector<double> m(count + 1, -1.0);
            Tavlin::Core::Array::GradientMagnitude(gx.data() + offset, gy.data() + offset, m.data(), count);
            for (size_t i = 0; i < count; ++i)
            {
                const double expected = std::sqrt(gx[offset + i] * gx[offset + i] + gy[offset + i] * gy[offset + i]);
                EXPECT_EQ(std::memcmp(&m[i], &expected, sizeof(double)), 0)
                    << "count " << count << " offset " << offset << " at " << i << ": " << m[i] << " vs " << expected;
            }
            EXPECT_EQ(m[count], -1.0) << "wrote past the run of " << count;
        }
    }
    double five = 0.0;
    Tavlin::Core::Array::GradientMagnitude(gx.data(), gy.data(), &five, 1);
    EXPECT_EQ(five, 5.0);
}
