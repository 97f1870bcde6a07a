#include "core/array/ProjectRange.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template void ProjectRange<Array2dReal64, Array2dVec3UInt8>(Array2dReal64*&, Array2dVec3UInt8*, int);
template void ProjectRange<Array2dReal64, Array2dVec3Real64>(Array2dReal64*&, Array2dVec3Real64*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin
