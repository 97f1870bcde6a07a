#include "core/array/ElementWise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <utility>

#include "core/array/ArrayFactories.h"
#include "core/array/PixSum.h"
#include "core/array/ProjectRange.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using TestSupport::kBorderSentinel;
using TestSupport::MakePlane;

TEST(ElementWise, ComputesImagePixelsAndLeavesBorder)
{
    // a = [1 2 3; 4 5 6] with border 1, b = [0 .5 1; -.5 0 .5] with border 2.
    std::unique_ptr<Array2dReal64> a(MakePlane(3, 2, 1, [](long long x, long long y) { return 1.0 + x + 3 * y; }));
    std::unique_ptr<Array2dReal64> b(MakePlane(3, 2, 2, [](long long x, long long y) { return 0.5 * (x - y); }));
    const struct
    {
        std::function<void(Array2dReal64*&)> op;
        double expected[6];
    } cases[] = {
        {[&](Array2dReal64*& d) { Add(d, a.get(), b.get()); }, {1, 2.5, 4, 3.5, 5, 6.5}},
        {[&](Array2dReal64*& d) { Sub(d, a.get(), b.get()); }, {1, 1.5, 2, 4.5, 5, 5.5}},
        {[&](Array2dReal64*& d) { Mul(d, a.get(), b.get()); }, {0, 1, 3, -2, 0, 3}},
        {[&](Array2dReal64*& d) { AddVal(d, a.get(), 2.5); }, {3.5, 4.5, 5.5, 6.5, 7.5, 8.5}},
        {[&](Array2dReal64*& d) { MulVal(d, a.get(), -2.0); }, {-2, -4, -6, -8, -10, -12}},
        {[&](Array2dReal64*& d) { DivVal(d, a.get(), 4.0); }, {0.25, 0.5, 0.75, 1, 1.25, 1.5}},
        {[&](Array2dReal64*& d) { Sqrt(d, a.get()); }, {1, M_SQRT2, std::sqrt(3.0), 2, std::sqrt(5.0), std::sqrt(6.0)}},
        {[&](Array2dReal64*& d) { Set(d, a.get()); }, {1, 2, 3, 4, 5, 6}},
    };
    for (const auto& c : cases)
    {
        Array2dReal64* d = nullptr;
        c.op(d);
        std::unique_ptr<Array2dReal64> owner(d);
        EXPECT_EQ(d->BorderWidth(), 1); // shaped like the first source
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(*d->PixelPtr(i % 3, i / 3), c.expected[i]) << i;
    }

    // A given result drives the loops and its border is not written.
    Array2dReal64* given = MakePlane(2, 1, 1, [](long long, long long) { return 0.0; });
    std::unique_ptr<Array2dReal64> owner(given);
    Add(given, a.get(), b.get());
    EXPECT_EQ(*given->PixelPtr(0, 0), 1.0);
    EXPECT_EQ(*given->PixelPtr(1, 0), 2.5);
    for (const auto& p : {std::make_pair(2, 0), std::make_pair(-1, 0), std::make_pair(0, -1)})
        EXPECT_EQ(*given->PixelPtr(p.first, p.second), kBorderSentinel);

    // atan2, with NaN results replaced by 0.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double as[] = {0.0, 1.0, nan, 1.0, -1.0};
    const double bs[] = {0.0, 1.0, 1.0, nan, 0.0};
    const double angles[] = {0.0, M_PI / 4, 0.0, 0.0, -M_PI / 2};
    std::unique_ptr<Array2dReal64> ya(MakePlane(5, 1, 0, [&](long long x, long long) { return as[x]; }));
    std::unique_ptr<Array2dReal64> xb(MakePlane(5, 1, 0, [&](long long x, long long) { return bs[x]; }));
    Array2dReal64* r = nullptr;
    Atan2(r, ya.get(), xb.get());
    std::unique_ptr<Array2dReal64> ownR(r);
    for (int i = 0; i < 5; ++i)
        EXPECT_DOUBLE_EQ(*r->PixelPtr(i, 0), angles[i]) << i;

    // Sums of the image only; an empty image is no work.
    EXPECT_EQ(PixSum(a.get()), 2 * (1 + 2 + 3) + 3 * 3.0);
    std::unique_ptr<Array2dReal64> empty(ArrayCreate<Array2dReal64>(0, 0, 0, 0));
    EXPECT_EQ(PixSum(empty.get()), 0.0);
    Array2dReal64* root = nullptr;
    Sqrt(root, empty.get());
    std::unique_ptr<Array2dReal64> ownRoot(root);
    EXPECT_EQ(root->Height(), 0);
}

TEST(ElementWise, ColourScalingPowerAndChannelPick)
{
    std::unique_ptr<Array2dVec3UInt8> img(ArrayCreate<Array2dVec3UInt8>(2, 1, 1, 1));
    const unsigned char values[6] = {10, 20, 30, 255, 0, 1};
    std::copy(values, values + 6, img->PixelPtr(0, 0));
    Array2dVec3Real64* scaled = nullptr;
    MulVal(scaled, img.get(), Vec3Int32(3, -1, 100000000));
    std::unique_ptr<Array2dVec3Real64> ownScaled(scaled);
    EXPECT_EQ(scaled->PixelPtr(0, 0)[0], 30.0);
    EXPECT_EQ(scaled->PixelPtr(0, 0)[1], -20.0);
    // 30 x 1e8 does not fit 32 bits: the product wraps around as a 32-bit integer.
    EXPECT_EQ(scaled->PixelPtr(0, 0)[2], static_cast<double>(static_cast<int32_t>(30u * 100000000u)));
    EXPECT_EQ(scaled->PixelPtr(1, 0)[0], 765.0);

    // Channel by channel, then each channel squared.
    Array2dVec3Real64* halved = nullptr;
    MulVal(halved, scaled, Vec3Real64(0.5, 2.0, 0.0));
    Array2dVec3Real64* squared = nullptr;
    Pow(squared, halved, 2.0);
    TestSupport::Owned<Array2dVec3Real64> owners({halved, squared});
    EXPECT_EQ(halved->PixelPtr(1, 0)[0], 382.5);
    EXPECT_EQ(squared->PixelPtr(1, 0)[0], 146306.25);
    EXPECT_EQ(squared->PixelPtr(0, 0)[1], 1600.0);

    // Channels counted from 1; others give the first.
    const double picked[] = {10.0, 10.0, 20.0, 30.0, 10.0};
    const int dims[] = {-1, 1, 2, 3, 4};
    for (int i = 0; i < 5; ++i)
    {
        Array2dReal64* plane = nullptr;
        ProjectRange(plane, img.get(), dims[i]);
        std::unique_ptr<Array2dReal64> owner(plane);
        EXPECT_EQ(plane->BorderWidth(), 1);
        EXPECT_EQ(*plane->PixelPtr(0, 0), picked[i]) << "dimension " << dims[i];
    }
}
