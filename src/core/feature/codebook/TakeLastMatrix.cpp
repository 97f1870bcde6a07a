#include "core/feature/codebook/TakeLastMatrix.h"

#include "core/feature/codebook/CodebookMatrices.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

Array::Array2dReal64* TakeLastMatrix(Matrix::MatList* list)
{
    if (!list)
        return nullptr;
    Array::Array2dReal64* last = nullptr;
    if (!list->empty())
    {
        last = list->back();
        list->pop_back();
    }
    DeleteMatList(list);
    return last;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
