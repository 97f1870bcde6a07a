// Turns a colour image into the ordered list of scalar planes that a descriptor is
// computed on, by colour-model name ("" or "no" for intensity, "rg", "opponent", "c",
// "hsv", "rgb", "transformedcolor", ..., and the tunable "tunergb..." and
// "tunechan-..." forms). The number and order of the planes are part of the
// descriptor layout.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_GETCOLORCHANNELS_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_GETCOLORCHANNELS_H

#include <string>
#include <vector>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// The image holds R, G, B on a 0 to 255 scale and is not changed. Every plane is a
// new array of the image's size without border, owned by the caller. An unknown name
// gives an empty list.
std::vector<Array::Array2dReal64*> GetColorChannels(Array::Array2dVec3Real64* image, std::string colorModel);
std::vector<Array::Array2dReal64*> GetColorChannels(Array::Array2dVec3UInt8* image, std::string colorModel);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
