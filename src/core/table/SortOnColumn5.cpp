#include "core/table/SortOnColumn5.h"

namespace Tavlin
{
namespace Core
{
namespace Table
{

template void SortOnColumn5(PointDescriptorTableTem* table, bool ascending);

} // namespace Table
} // namespace Core
} // namespace Tavlin
