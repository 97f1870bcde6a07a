#include "core/array/ArraySet.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template class ArraySet<Array2dReal64>;

} // namespace Array
} // namespace Core
} // namespace Tavlin
