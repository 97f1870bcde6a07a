#include "core/array/MakeRoi.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template Array2dVec3UInt8* MakeRoi<Array2dVec3UInt8>(Array2dVec3UInt8*, const Geometry::Rectangle&);

} // namespace Array
} // namespace Core
} // namespace Tavlin
