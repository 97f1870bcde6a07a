#include "core/vector/VectorSet.h"

namespace Tavlin
{
namespace Core
{
namespace Vector
{

template class VectorSet<Array::Array2dReal64>;

} // namespace Vector
} // namespace Core
} // namespace Tavlin
