#include "core/column/ColumnTem.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

template class ColumnTem<int>;
template class ColumnTem<double>;
template class ColumnTem<Quid>;

} // namespace Column
} // namespace Core
} // namespace Tavlin
