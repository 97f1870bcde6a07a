// Synthetic planes and colour images for the array and feature tests: made from a
// function of the pixel position, or from a fixed pseudo-random sequence. Borders are
// filled with a sentinel so that a filter reading an unfilled border shows up.
#ifndef LUMISK_TESTS_SUPPORT_SYNTHETICIMAGE_H
#define LUMISK_TESTS_SUPPORT_SYNTHETICIMAGE_H

#include <cstdint>
#include <functional>

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

} // namespace TestSupport

#endif
