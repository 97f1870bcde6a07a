#include "core/array/FuncBorderPropagateNormalized2d.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

template void FuncBorderPropagateNormalized2d<Array2dReal64, double>(Array2dReal64*, long long, long long, double,
                                                                     double, double, double);
template void FuncBorderPropagateNormalized2d<Array2dReal64, int>(Array2dReal64*, long long, long long, int, int,
                                                                  int, int);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin
