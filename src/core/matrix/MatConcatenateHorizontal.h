// Joins matrices of one height side by side: the result's columns are those of the
// first matrix, then of the second, and so on. Used to join per-channel descriptors.
#ifndef TAVLIN_CORE_MATRIX_MATCONCATENATEHORIZONTAL_H
#define TAVLIN_CORE_MATRIX_MATCONCATENATEHORIZONTAL_H

#include <vector>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

// A new matrix of the first element's height and the summed widths. An element of
// another height is reported and joins with as many rows as both have, the rest of
// its columns zero. An empty list is reported and gives null.
template <class MatT>
MatT* MatConcatenateHorizontal(std::vector<MatT*> list);

extern template Array::Array2dReal64* MatConcatenateHorizontal<Array::Array2dReal64>(
    std::vector<Array::Array2dReal64*> list);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin

#endif
