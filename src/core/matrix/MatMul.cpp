#include "core/matrix/MatMul.h"

#include <cblas.h>

#include <algorithm>
#include <cstdint>
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
MatT* MatMul(MatT* a, MatT* b)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Matrix.MatMul");
    if (static_cast<int32_t>(a->mWidth) != static_cast<int32_t>(b->mHeight))
    {
        TLOG_ERROR(sLog, "nonconformant MatMul operands: " << a->mHeight << "," << a->mWidth << " x " << b->mHeight
                                                           << "," << b->mWidth);
        return nullptr;
    }
    const int m = static_cast<int>(a->mHeight);
    const int n = static_cast<int>(b->mWidth);
    const int k = static_cast<int>(b->mHeight);
    MatT* c = MatCreate<MatT>(m, n);
    if (c->mDataSize == 0)
        return c;
    if (!c->mData)
    {
        delete c;
        return nullptr;
    }
    // dgemm refuses leading dimensions below 1 and an empty inner dimension gives zeros.
    if (k == 0)
        std::memset(c->mData, 0, c->mDataSize * sizeof(typename MatT::StorType));
    else
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a->mData, std::max(1, k), b->mData,
                    std::max(1, n), 0.0, c->mData, std::max(1, n));
    return c;
}

template Array::Array2dReal64* MatMul<Array::Array2dReal64>(Array::Array2dReal64*, Array::Array2dReal64*);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
