#include "core/array/MakeRoi.h"

#include <gtest/gtest.h>

#include <string>

#include "core/array/ArrayFactories.h"

using namespace Tavlin::Core::Array;
using Tavlin::Core::Geometry::Rectangle;

namespace
{

// 5 x 4 image with borders (2, 1); every stored pixel gets a distinct value.
Array2dVec3UInt8* MakeNumbered()
{
    Array2dVec3UInt8* a = ArrayCreate<Array2dVec3UInt8>(5, 4, 2, 1);
    for (long long y = -1; y < 5; ++y)
        for (long long x = -2; x < 7; ++x)
        {
            unsigned char* p = a->PixelPtr(x, y);
            p[0] = static_cast<unsigned char>(100 + 10 * y + x);
            p[1] = static_cast<unsigned char>(y + 1);
            p[2] = static_cast<unsigned char>(x + 2);
        }
    return a;
}

} // namespace

TEST(MakeRoi, CopiesRectangleIncludingBorderUpToTheFrame)
{
    Array2dVec3UInt8* a = MakeNumbered();
    Array2dVec3UInt8* whole = MakeRoi(a, Rectangle(-2, -1, 6, 4));
    ASSERT_NE(whole, nullptr);
    EXPECT_EQ(whole->Width(), 9);
    EXPECT_EQ(whole->Height(), 6);
    EXPECT_EQ(whole->BorderWidth(), 0);
    EXPECT_EQ(whole->BorderHeight(), 0);
    for (long long y = 0; y < 6; ++y)
        for (long long x = 0; x < 9; ++x)
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(whole->PixelPtr(x, y)[c], a->PixelPtr(x - 2, y - 1)[c]);
    delete whole;

    Array2dVec3UInt8* inner = MakeRoi(a, Rectangle(1, 2, 3, 2));
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->Width(), 3);
    EXPECT_EQ(inner->Height(), 1);
    EXPECT_EQ(inner->PixelPtr(0, 0)[0], 100 + 20 + 1);
    EXPECT_EQ(inner->PixelPtr(2, 0)[0], 100 + 20 + 3);
    delete inner;

    Array2dVec3UInt8* flat = MakeRoi(a, Rectangle(0, 3, 2, 2)); // height 0
    ASSERT_NE(flat, nullptr);
    EXPECT_EQ(flat->Height(), 0);
    delete flat;
    delete a;
}

TEST(MakeRoi, RefusesOnePixelBeyondTheFrame)
{
    Array2dVec3UInt8* a = MakeNumbered();
    const Rectangle bad[] = {Rectangle(-3, 0, 1, 1), Rectangle(0, -2, 1, 1), Rectangle(0, 0, 7, 1),
                             Rectangle(0, 0, 1, 5)};
    for (const Rectangle& r : bad)
    {
        testing::internal::CaptureStderr();
        EXPECT_EQ(MakeRoi(a, r), nullptr);
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_NE(err.find("[ERROR] Segfault highly likely due to too small border in MakeRoi (therefore aborted): "),
                  std::string::npos);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(MakeRoi(a, Rectangle(-3, -1, 7, 5)), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERROR] Segfault highly likely due to too small border in MakeRoi (therefore aborted): "
              "left=-3; limit=-2; top=-1; limit=-1; right=7; limit=7; bottom=5; limit=5\n");
    delete a;
}
