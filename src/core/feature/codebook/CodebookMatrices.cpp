#include "core/feature/codebook/CodebookMatrices.h"

#include "basis/Report.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

Matrix::MatList* GetCodebookMatrices(Persistency::CodebookLocator&, const std::string&)
{
    return nullptr;
}

Array::Array2dReal64* GetCodebookWords(Persistency::CodebookLocator& locator, log4cpp::Category& log)
{
    Matrix::MatList* list = GetCodebookMatrices(locator, "codebook");
    if (!list || list->empty())
    {
        DeleteMatList(list);
        TLOG_ERROR(log, "Codebook not found");
        return nullptr;
    }
    Array::Array2dReal64* words = list->back();
    list->pop_back();
    DeleteMatList(list);
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
