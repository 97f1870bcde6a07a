#include "core/column/ApplyOrder.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

template void ApplyOrder<ColumnTem<double>>(ColumnTem<double>*, ColumnTem<int>*);
template void ApplyOrder<Vector::VectorSet<Array::Array2dReal64>>(Vector::VectorSet<Array::Array2dReal64>*,
                                                                   ColumnTem<int>*);
template void ApplyOrder<InvalidColumn>(InvalidColumn*, ColumnTem<int>*);

} // namespace Column
} // namespace Core
} // namespace Tavlin
