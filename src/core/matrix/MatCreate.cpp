#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

template Array::Array2dReal64* MatCreate<Array::Array2dReal64>(int, int, double*, bool);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
