#include "core/column/Copy.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

template void Copy<ColumnTem<double>, ColumnTem<double>>(ColumnTem<double>*, ColumnTem<double>*, int, int, int);
template void Copy<Vector::VectorSet<Array::Array2dReal64>, Vector::VectorSet<Array::Array2dReal64>>(
    Vector::VectorSet<Array::Array2dReal64>*, Vector::VectorSet<Array::Array2dReal64>*, int, int, int);

} // namespace Column
} // namespace Core
} // namespace Tavlin
