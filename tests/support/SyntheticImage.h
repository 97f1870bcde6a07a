// Synthetic planes and colour images for the array and feature tests: made from a
// function of the pixel position, or from a fixed pseudo-random sequence. Borders are
// filled with a sentinel so that a filter reading an unfilled border shows up.
#ifndef LUMISK_TESTS_SUPPORT_SYNTHETICIMAGE_H
#define LUMISK_TESTS_SUPPORT_SYNTHETICIMAGE_H

#include <cmath>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/array/Array2dTem.h"

namespace TestSupport
{

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Array::Array2dVec3Real64;
using Tavlin::Core::Array::Array2dVec3UInt8;

const double kBorderSentinel = -12345.0;

// Image pixel (x, y) = f(x, y); border values kBorderSentinel.
Array2dReal64* MakePlane(long long width, long long height, long long border,
                         const std::function<double(long long, long long)>& f);

// Uniform values in [low, high) from a fixed linear congruential sequence.
Array2dReal64* MakeRandomPlane(long long width, long long height, long long border, uint32_t seed, double low,
                               double high);

// Pixel (x, y) gets f(x, y, channel) for channels 0, 1, 2.
Array2dVec3Real64* MakeColourImage(long long width, long long height,
                                   const std::function<double(long long, long long, int)>& f);
Array2dVec3UInt8* MakeColourImage8(long long width, long long height,
                                   const std::function<int(long long, long long, int)>& f);

// Largest absolute difference over the image rectangle shrunk by `margin` on each side.
double MaxAbsDiff(Array2dReal64* a, Array2dReal64* b, long long margin = 0);

// Both arrays exist, have one size and equal image pixels (borders aside).
::testing::AssertionResult SameImage(Array2dReal64* a, Array2dReal64* b);

// Index i reflected into 0 .. n - 1 with the edge repeated: -1 -> 0, n -> n - 1.
inline long long Reflect(long long i, long long n)
{
    return i < 0 ? -1 - i : (i >= n ? 2 * n - 1 - i : i);
}

// Three components of a and b (colours, Vec3Real64) within tolerance of each other.
template <class A, class B>
::testing::AssertionResult Near3(const A& a, const B& b, double tolerance)
{
    for (int i = 0; i < 3; ++i)
        if (!(std::fabs(a[i] - b[i]) <= tolerance))
            return ::testing::AssertionFailure() << "component " << i << ": " << a[i] << " against " << b[i];
    return ::testing::AssertionSuccess();
}

// Grey Gaussian blobs of deviation t at `centres` (their sum capped at 1) rising from
// `background` to `peak`, rounded, the same in all three channels.
Array2dVec3UInt8* MakeBlobs8(long long width, long long height, const std::vector<std::pair<double, double>>& centres,
                             double t, int background = 0, int peak = 255);

} // namespace TestSupport

#endif
