#include "core/feature/codebook/CodebookMatrices.h"

#include "basis/Report.h"
#include "core/feature/codebook/TakeLastMatrix.h"
#include "persistency/CodebookLocator.h"
#include "persistency/CodebookRepositoryInFile.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

Matrix::MatList* GetCodebookMatrices(Persistency::CodebookLocator& locator, const std::string& kind)
{
    locator.SetCodebookKind(kind);
    return Persistency::CodebookRepository().Get(locator);
}

Array::Array2dReal64* GetCodebookWords(Persistency::CodebookLocator& locator, log4cpp::Category& log)
{
    Array::Array2dReal64* words = TakeLastMatrix(GetCodebookMatrices(locator, "codebook"));
    if (!words)
        TLOG_ERROR(log, "Codebook not found");
    return words;
}

void DeleteMatList(Matrix::MatList* list)
{
    if (!list)
        return;
    for (Array::Array2dReal64* matrix : *list)
        delete matrix;
    delete list;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
