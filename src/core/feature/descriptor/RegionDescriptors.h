// Region descriptors: the colour of a circular patch around each point, summarised
// as per-plane histograms ("rgbhistogram", "opponenthistogram", "nrghistogram",
// "transformedcolorhistogram", "huehistogram") or as colour moments ("colormoments",
// "colormomentinvariants"). Patches are cut from a copy of the image with a mirrored
// border of 120 pixels, so that every patch is a plain block copy. The bin count
// comes from the option descriptorBinCount, optional pre-smoothing from
// descriptorPreSmoothing, both read from CmdOptions.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_REGIONDESCRIPTORS_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_REGIONDESCRIPTORS_H

#include <string>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// The border of the mirrored copy, and the radius a patch falls back on.
const int sRegionBorder = 120;

// Replaces the descriptor store of `table` by one row per point, radius 10 x scale.
// A point whose patch can not be cut even at radius 120 is left out with a warning.
// An unknown name is refused before any work: "[ERROR] Invalid descriptor name: " on
// standard error, and the text "Invalid descriptor name" thrown.
void CalculateRegionDescriptors(Array::Array2dVec3UInt8* image, PointDescriptorTable* table, std::string name);

// The square of side 2 radius + 1 centred at (x, y), read from the image and its
// border; when it does not fit, the same at radius 120; when that does not fit either,
// a message on standard error and `patch` null. A `patch` of the right size without
// border is reused, any other one is replaced.
void MakePatch(Array::Array2dVec3UInt8*& patch, Array::Array2dVec3UInt8* image, int x, int y, int radius);

// Appends the descriptor `name` of the patch to `result`. With circularMask only the
// disc inside the square counts; the patch must then be square. x and y serve only the
// diagnostic of "opponenthistogram". Failures are thrown as plain text.
void ComputeRegionDescriptor(std::vector<double>& result, Array::Array2dVec3UInt8* patch, std::string name,
                             bool circularMask, int x, int y);

// n x n, 1.0 where (n/2 - column)^2 + (n/2 - row)^2 <= (n/2)^2 (integer n/2 on the
// left), 0.0 elsewhere. Owned by the caller.
Array::Array2dReal64* CreateCircleMask(int n);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
