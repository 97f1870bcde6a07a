// The sparse SIFT family by descriptor name: "sift", "fist" and their colour forms
// ("rgbsift", "opponentsift", ...), the gamma forms "g0sift" to "g4sift" and a norm
// exponent written as "n<digit>" or "n<two digits>" before the suffix ("rgbn1sift").
// Each colour channel gets a FISTDescriptor<4, 8> of 128 values at every point; the
// channels are joined side by side into the table's descriptor store.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_CALCULATEFISTDESCRIPTORS_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_CALCULATEFISTDESCRIPTORS_H

#include <string>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// Replaces the descriptor store of `table` by one row per point, row order kept.
void CalculateFISTDescriptors(Array::Array2dVec3UInt8* image, PointDescriptorTable* table, std::string name);

// The double image the descriptor is computed on, gamma-corrected when the name holds
// one of "g0sift" to "g4sift" (the first of them tested first), else the plain values
// 0 to 255. A new borderless image owned by the caller.
Array::Array2dVec3Real64* MakeFISTImage(Array::Array2dVec3UInt8* image, const std::string& name);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
