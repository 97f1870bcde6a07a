// What a quantizer keeps of the matrices a repository hands out: the last matrix of
// the list. A raw file holding several matrices thus yields its last one.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_TAKELASTMATRIX_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_TAKELASTMATRIX_H

#include "core/array/Array2dTem.h"
#include "core/matrix/MatList.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// Takes the last matrix out of the list and deletes the other matrices and the list
// itself. Null for a null or empty list (the list is deleted all the same).
Array::Array2dReal64* TakeLastMatrix(Matrix::MatList* list);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
