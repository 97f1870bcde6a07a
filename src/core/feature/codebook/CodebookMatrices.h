// The matrices stored beside a named codebook, fetched through the codebook
// repository: the words themselves ("codebook") and the optional residual statistics
// ("diffstat").
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_CODEBOOKMATRICES_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_CODEBOOKMATRICES_H

#include <string>

#include "core/array/Array2dTem.h"
#include "core/matrix/MatList.h"

namespace Tavlin
{
namespace Persistency
{
class CodebookLocator;
}

namespace Core
{
namespace Feature
{

// Sets the locator's kind and returns the list stored under it, owned by the caller
// with its matrices; null when the repository has no such file.
Matrix::MatList* GetCodebookMatrices(Persistency::CodebookLocator& locator, const std::string& kind);

// The last matrix of the "codebook" list (the others are released); null, with
// "Codebook not found" logged on `log`, when there is none.
Array::Array2dReal64* GetCodebookWords(Persistency::CodebookLocator& locator, log4cpp::Category& log);

// Releases the list and every matrix in it.
void DeleteMatList(Matrix::MatList* list);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
