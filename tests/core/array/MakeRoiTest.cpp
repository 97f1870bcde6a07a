#include "core/array/MakeRoi.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <string>

#include "core/array/ArrayFactories.h"

using namespace Tavlin::Core::Array;
using Tavlin::Core::Geometry::Rectangle;

TEST(MakeRoi, CopiesUpToTheFrameAndRefusesOnePixelMore)
{
    // 5 x 4 image with borders (2, 1); every stored pixel distinct.
    std::unique_ptr<Array2dVec3UInt8> a(ArrayCreate<Array2dVec3UInt8>(5, 4, 2, 1));
    for (long long y = -1; y < 5; ++y)
        for (long long x = -2; x < 7; ++x)
            for (int c = 0; c < 3; ++c)
                a->PixelPtr(x, y)[c] = static_cast<unsigned char>(100 + 10 * y + x + 50 * c);

    // Rectangles are inclusive: the whole frame, an inner part, an empty one.
    const struct
    {
        Rectangle rect;
        long long width, height;
    } good[] = {{Rectangle(-2, -1, 6, 4), 9, 6}, {Rectangle(1, 2, 3, 2), 3, 1}, {Rectangle(0, 3, 2, 2), 3, 0}};
    for (const auto& g : good)
    {
        std::unique_ptr<Array2dVec3UInt8> roi(MakeRoi(a.get(), g.rect));
        ASSERT_NE(roi, nullptr);
        EXPECT_EQ(roi->Width(), g.width);
        EXPECT_EQ(roi->Height(), g.height);
        EXPECT_EQ(roi->BorderWidth(), 0);
        for (long long y = 0; y < g.height; ++y)
            for (long long x = 0; x < g.width; ++x)
                for (int c = 0; c < 3; ++c)
                    EXPECT_EQ(roi->PixelPtr(x, y)[c], a->PixelPtr(x + g.rect.left, y + g.rect.top)[c]);
    }

    // One pixel beyond the frame on any side fails; all four values are reported.
    const std::string prefix = "[ERROR] Segfault highly likely due to too small border in MakeRoi (therefore aborted): ";
    const std::pair<Rectangle, std::string> bad[] = {
        {Rectangle(-3, 0, 1, 1), "left=-3; limit=-2; top=0; limit=-1; right=1; limit=7; bottom=1; limit=5\n"},
        {Rectangle(0, -2, 1, 1), "left=0; limit=-2; top=-2; limit=-1; right=1; limit=7; bottom=1; limit=5\n"},
        {Rectangle(0, 0, 7, 1), "left=0; limit=-2; top=0; limit=-1; right=7; limit=7; bottom=1; limit=5\n"},
        {Rectangle(-3, -1, 6, 5), "left=-3; limit=-2; top=-1; limit=-1; right=6; limit=7; bottom=5; limit=5\n"}};
    for (const auto& b : bad)
    {
        testing::internal::CaptureStderr();
        EXPECT_EQ(MakeRoi(a.get(), b.first), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), prefix + b.second);
    }
}
