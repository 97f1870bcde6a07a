#include "core/vector/VectorTem.h"

namespace Tavlin
{
namespace Core
{
namespace Vector
{

template class VectorTem<double>;

} // namespace Vector
} // namespace Core
} // namespace Tavlin
