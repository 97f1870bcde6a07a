// The matrix product, done by one call of the BLAS routine dgemm on the operands'
// storage as it stands: operands must have no border.
#ifndef TAVLIN_CORE_MATRIX_MATMUL_H
#define TAVLIN_CORE_MATRIX_MATMUL_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

// a x b as a new matrix owned by the caller; null, after a logged error, when the
// width of a differs from the height of b.
template <class MatT>
MatT* MatMul(MatT* a, MatT* b);

extern template Array::Array2dReal64* MatMul<Array::Array2dReal64>(Array::Array2dReal64*, Array::Array2dReal64*);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin

#endif
