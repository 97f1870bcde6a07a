#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template class Array2dTem<unsigned char, 3, Vec3Int32>;
template class Array2dTem<double, 3, Vec3Real64>;
template class Array2dTem<double, 1, double>;
template class Array2dTem<float, 1, double>;
template class Array2dTem<int, 1, int>;
template class Array2dTem<unsigned char, 1, int>;
template class Array2dTem<unsigned long long, 1, unsigned long long>;

} // namespace Array
} // namespace Core
} // namespace Tavlin
