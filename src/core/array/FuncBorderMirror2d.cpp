#include "core/array/FuncBorderMirror2d.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

template void FuncBorderMirror2d<Array2dVec3UInt8>(Array2dVec3UInt8*, long long, long long);
template void FuncBorderMirror2d<Array2dReal64>(Array2dReal64*, long long, long long);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin
