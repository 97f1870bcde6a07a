#include "core/table/TableTem.h"

namespace Tavlin
{
namespace Core
{
namespace Table
{

template class TableTem<Column::ColumnTem<double>, Column::ColumnTem<double>, Column::ColumnTem<double>,
                        Column::ColumnTem<double>, Column::ColumnTem<double>, Vector::VectorSet<Array::Array2dReal64>>;
template class TableTem<Column::ColumnTem<Quid>, Vector::VectorSet<Array::Array2dReal64>>;
template class TableTem<Column::ColumnTem<int>, Column::ColumnTem<int>, Column::ColumnTem<double>>;

} // namespace Table
} // namespace Core
} // namespace Tavlin
