#include "core/array/PatSetBorder.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

template void PatSetBorder<Array2dReal64, double>(Array2dReal64*, int, int, BorderType, double, double, double,
                                                  double, double);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin
