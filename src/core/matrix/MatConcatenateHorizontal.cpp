#include "core/matrix/MatConcatenateHorizontal.h"

#include <algorithm>
#include <cstring>

#include "basis/Report.h"
#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

template <class MatT>
MatT* MatConcatenateHorizontal(std::vector<MatT*> list)
{
    typedef typename MatT::StorType StorType;
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Matrix.MatConcatenateHorizontal");
    if (list.empty())
    {
        TLOG_ERROR(sLog, "nonconformant MatConcatenateHorizontal operands: empty list");
        return nullptr;
    }
    const long long height = list[0]->mHeight;
    long long width = 0;
    for (MatT* element : list)
    {
        if (element->mHeight != height)
            TLOG_ERROR(sLog, "nonconformant MatConcatenateHorizontal operands.");
        width += element->mWidth;
    }
    MatT* result = MatCreate<MatT>(static_cast<int>(height), static_cast<int>(width));
    if (!result->mData && result->mDataSize > 0)
    {
        delete result;
        return nullptr;
    }
    long long offset = 0;
    for (MatT* element : list)
    {
        const long long w = element->mWidth;
        const size_t rowBytes = static_cast<size_t>(w) * sizeof(StorType);
        const long long rows = std::min(height, element->mHeight);
        for (long long y = 0; y < height && w > 0; ++y)
        {
            StorType* dst = result->mData + y * width + offset;
            if (y < rows)
                std::memcpy(dst, element->mData + y * w, rowBytes);
            else
                std::memset(dst, 0, rowBytes);
        }
        offset += w;
    }
    return result;
}

template Array::Array2dReal64* MatConcatenateHorizontal<Array::Array2dReal64>(
    std::vector<Array::Array2dReal64*> list);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
