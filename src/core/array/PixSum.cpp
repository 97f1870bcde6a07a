#include "core/array/PixSum.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template double PixSum<Array2dReal64>(Array2dReal64*);

} // namespace Array
} // namespace Core
} // namespace Tavlin
