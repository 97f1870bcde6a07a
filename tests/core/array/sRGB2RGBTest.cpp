#include "core/array/sRGB2RGB.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;

TEST(sRGB2RGB, MapsEndsToThemselvesAndMidGreyToAbout56)
{
    // Grey levels 0, 64, 128, 192, 255 along x, the same in every channel.
    const int levels[] = {0, 64, 128, 192, 255};
    std::unique_ptr<Array2dVec3UInt8> src(
        TestSupport::MakeColourImage8(5, 2, [&](long long x, long long, int) { return levels[x]; }));
    Array2dVec3Real64* dst = nullptr;
    sRGB2RGB(dst, src.get());
    std::unique_ptr<Array2dVec3Real64> owner(dst);
    ASSERT_NE(dst, nullptr);
    EXPECT_EQ(dst->Width(), 5);
    EXPECT_EQ(dst->PixelPtr(0, 1)[0], 0.0);
    EXPECT_EQ(dst->PixelPtr(4, 1)[2], 255.0);
    EXPECT_NEAR(dst->PixelPtr(2, 0)[1], 55.98, 0.01);
    // Rising, and below the identity in between.
    for (long long x = 1; x < 4; ++x)
        for (int c = 0; c < 3; ++c)
        {
            EXPECT_GT(dst->PixelPtr(x, 1)[c], dst->PixelPtr(x - 1, 1)[c]);
            EXPECT_LT(dst->PixelPtr(x, 1)[c], levels[x]);
        }
}
