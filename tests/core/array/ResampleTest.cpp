#include "core/array/Resample.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/LogCapture.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakeColourImage8;

namespace
{

typedef std::unique_ptr<Array2dVec3UInt8> Byte3Ptr;

} // namespace

TEST(Resample, EnlargementDarkensItsLastColumnsAndRows)
{
    Byte3Ptr src(MakeColourImage8(6, 8, [](long long, long long, int c) { return 200 - 50 * c; }));
    Array2dVec3UInt8* out = nullptr;
    Resample(out, src.get(), 12, 8);
    Byte3Ptr dst(out);
    ASSERT_TRUE(dst);
    ASSERT_EQ(12, dst->mWidth);
    ASSERT_EQ(8, dst->mHeight);
    // The smoothing adds a border of twice the filter order to a borderless plane.
    EXPECT_EQ(6, dst->mBorderWidth);
    EXPECT_EQ(6, dst->mBorderHeight);
    for (int c = 0; c < 3; ++c)
    {
        const int v = 200 - 50 * c;
        // Columns 10 and 11 and the last row are background 0 before the smoothing.
        EXPECT_NEAR(v, dst->PixelPtr(4, 3)[c], 2) << c;
        EXPECT_LT(dst->PixelPtr(11, 3)[c], v / 2) << c;
        EXPECT_LT(dst->PixelPtr(10, 3)[c], dst->PixelPtr(8, 3)[c]) << c;
        EXPECT_LT(dst->PixelPtr(8, 3)[c], v) << c;
        EXPECT_LT(dst->PixelPtr(4, 7)[c], v / 2) << c;
    }
}

TEST(Resample, ShrinksAndFillsAGivenResult)
{
    Byte3Ptr src(MakeColourImage8(40, 30, [](long long x, long long, int) { return x < 20 ? 30 : 220; }));
    Byte3Ptr given(new Array2dVec3UInt8(20, 15, 6, 6));
    Array2dVec3UInt8* out = given.get();
    Resample(out, src.get(), 20, 15);
    EXPECT_EQ(given.get(), out);
    EXPECT_NEAR(30, out->PixelPtr(3, 7)[0], 2);
    EXPECT_NEAR(220, out->PixelPtr(15, 7)[1], 2);
    EXPECT_LT(out->PixelPtr(9, 7)[2], out->PixelPtr(11, 7)[2]);
}

TEST(Resample, RefusesEmptySizes)
{
    TestSupport::LogCapture log("Tavlin.Core.Array.Resample");
    Byte3Ptr src(MakeColourImage8(4, 4, [](long long, long long, int) { return 5; }));
    Array2dVec3UInt8* out = nullptr;
    Resample(out, src.get(), 0, 3);
    EXPECT_EQ(nullptr, out);
    EXPECT_NE(std::string::npos, log.Text().find("[Resample]"));

    Byte3Ptr tiny(MakeColourImage8(1, 1, [](long long, long long, int) { return 90; }));
    Resample(out, tiny.get(), 3, 1);
    Byte3Ptr dst(out);
    ASSERT_TRUE(dst);
    EXPECT_EQ(3, dst->mWidth);
}
