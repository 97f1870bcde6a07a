// Nearest-neighbour search of data vectors (rows) among codebook vectors (rows). The
// result has one row per data vector: the index of the nearest codebook row, as a
// double, then its distance. VectorQuantize works in blocks of data rows so that the
// distance matrix stays near 20,000,000 entries.
#ifndef TAVLIN_CORE_MATRIX_VECTORQUANTIZE_H
#define TAVLIN_CORE_MATRIX_VECTORQUANTIZE_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

// Distance cap: nothing at or above it is taken, and an empty codebook yields it.
const double sVectorQuantizeFar = 999999999.0;

// All distances at once. Ties go to the lowest index; a NaN distance never wins.
// Null, after a logged error, when data and codebook differ in dimension.
Array::Array2dReal64* VectorQuantizeX(Array::Array2dReal64* data, Array::Array2dReal64* codebook);

// The same result, found block by block with the product of each block searched while
// it is in the cache; the square root is taken only near the smallest distance. data
// must have no border.
Array::Array2dReal64* VectorQuantize(Array::Array2dReal64* data, Array::Array2dReal64* codebook);

// The same result by VectorQuantizeX on min(20000000 / codebook rows, 10000) data rows
// at a time (at least one): the reference for VectorQuantize.
Array::Array2dReal64* VectorQuantizePlain(Array::Array2dReal64* data, Array::Array2dReal64* codebook);

// Rows per block for a codebook of `codebookRows` rows.
long long VectorQuantizeBlockRows(long long codebookRows);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin

#endif
