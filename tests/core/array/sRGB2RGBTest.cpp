#include "core/array/sRGB2RGB.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;

TEST(sRGB2RGB, AppliesThePowerLawPerValue)
{
    std::unique_ptr<Array2dVec3UInt8> src(
        TestSupport::MakeColourImage8(3, 2, [](long long x, long long y, int c) { return (x * 60 + y * 100 + c * 20) % 256; }));
    src->PixelPtr(0, 0)[0] = 0;
    src->PixelPtr(1, 0)[1] = 255;
    src->PixelPtr(2, 1)[2] = 128;
    Array2dVec3Real64* dst = nullptr;
    sRGB2RGB(dst, src.get());
    std::unique_ptr<Array2dVec3Real64> owner(dst);
    ASSERT_NE(dst, nullptr);
    EXPECT_EQ(dst->Width(), 3);
    EXPECT_EQ(dst->Height(), 2);
    EXPECT_EQ(dst->PixelPtr(0, 0)[0], 0.0);
    EXPECT_EQ(dst->PixelPtr(1, 0)[1], 255.0);
    EXPECT_NEAR(dst->PixelPtr(2, 1)[2], 55.98, 0.01);
    // Monotonic and below the identity in between.
    for (long long y = 0; y < 2; ++y)
        for (long long x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c)
            {
                const double v = src->PixelPtr(x, y)[c];
                EXPECT_NEAR(dst->PixelPtr(x, y)[c], 255.0 * std::pow(v / 255.0, 2.2), 1e-9);
            }
}
