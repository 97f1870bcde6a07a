#include "support/SyntheticImage.h"

#include <algorithm>
#include <cmath>

namespace TestSupport
{

Array2dReal64* MakePlane(long long width, long long height, long long border,
                         const std::function<double(long long, long long)>& f)
{
    Array2dReal64* a = new Array2dReal64(width, height, border, border);
    std::fill(a->Data(), a->Data() + a->DataSize(), kBorderSentinel);
    for (long long y = 0; y < height; ++y)
        for (long long x = 0; x < width; ++x)
            *a->PixelPtr(x, y) = f(x, y);
    return a;
}

Array2dReal64* MakeRandomPlane(long long width, long long height, long long border, uint32_t seed, double low,
                               double high)
{
    uint32_t state = seed;
    return MakePlane(width, height, border, [&](long long, long long) {
        state = state * 1664525u + 1013904223u;
        return low + (high - low) * ((state >> 8) / 16777216.0);
    });
}

namespace
{

// Both colour makers: pixel (x, y) channel c gets f(x, y, c) converted to the storage type.
template <class ArrayT, class F>
ArrayT* FillColourImage(long long width, long long height, const F& f)
{
    ArrayT* a = new ArrayT(width, height, 0, 0);
    for (long long y = 0; y < height; ++y)
        for (long long x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
                a->PixelPtr(x, y)[c] = static_cast<typename ArrayT::StorType>(f(x, y, c));
    return a;
}

} // namespace

Array2dVec3Real64* MakeColourImage(long long width, long long height,
                                   const std::function<double(long long, long long, int)>& f)
{
    return FillColourImage<Array2dVec3Real64>(width, height, f);
}

Array2dVec3UInt8* MakeColourImage8(long long width, long long height,
                                   const std::function<int(long long, long long, int)>& f)
{
    return FillColourImage<Array2dVec3UInt8>(width, height, f);
}

double MaxAbsDiff(Array2dReal64* a, Array2dReal64* b, long long margin)
{
    double worst = 0.0;
    for (long long y = margin; y < a->Height() - margin; ++y)
        for (long long x = margin; x < a->Width() - margin; ++x)
        {
            const double diff = std::fabs(*a->PixelPtr(x, y) - *b->PixelPtr(x, y));
            if (std::isnan(diff))
                return HUGE_VAL;
            worst = std::max(worst, diff);
        }
    return worst;
}

::testing::AssertionResult SameImage(Array2dReal64* a, Array2dReal64* b)
{
    if (!a || !b)
        return ::testing::AssertionFailure() << "null array";
    if (a->Width() != b->Width() || a->Height() != b->Height())
        return ::testing::AssertionFailure() << "size " << b->Width() << " x " << b->Height() << " instead of "
                                             << a->Width() << " x " << a->Height();
    for (long long y = 0; y < a->Height(); ++y)
        for (long long x = 0; x < a->Width(); ++x)
            if (*a->PixelPtr(x, y) != *b->PixelPtr(x, y))
                return ::testing::AssertionFailure() << "pixel " << x << "," << y;
    return ::testing::AssertionSuccess();
}

Array2dVec3UInt8* MakeBlobs8(long long width, long long height, const std::vector<std::pair<double, double>>& centres,
                             double t, int background, int peak)
{
    return MakeColourImage8(width, height, [&](long long x, long long y, int) {
        double v = 0.0;
        for (const auto& c : centres)
            v += std::exp(-((x - c.first) * (x - c.first) + (y - c.second) * (y - c.second)) / (2 * t * t));
        return static_cast<int>(std::lround(background + (peak - background) * std::min(v, 1.0)));
    });
}

} // namespace TestSupport
