// Matrices are Array2dReal64 without border: rows are the height, columns the width,
// and the storage is one plain row-major block that BLAS and file routines take as is.
#ifndef TAVLIN_CORE_MATRIX_MATCREATE_H
#define TAVLIN_CORE_MATRIX_MATCREATE_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

// A new nrRows x nrCols matrix owned by the caller; with data null the storage is
// fresh and not cleared, otherwise data is taken over or, with isWrapper, wrapped.
template <class MatT>
MatT* MatCreate(int nrRows, int nrCols, typename MatT::StorType* data = nullptr, bool isWrapper = false)
{
    return new MatT(nrCols, nrRows, 0, 0, data, isWrapper, false);
}

extern template Array::Array2dReal64* MatCreate<Array::Array2dReal64>(int, int, double*, bool);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin

#endif
