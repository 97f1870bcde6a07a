// The image types the feature stages pass between them, named in Feature: the 8-bit
// colour input, the double colour working image and the scalar plane.
#ifndef TAVLIN_CORE_FEATURE_FEATUREIMAGETYPES_H
#define TAVLIN_CORE_FEATURE_FEATUREIMAGETYPES_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;
using Array::Array2dVec3Real64;
using Array::Array2dVec3UInt8;

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
