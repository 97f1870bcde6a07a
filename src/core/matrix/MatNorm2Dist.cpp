#include "core/matrix/MatNorm2Dist.h"

#include <cmath>
#include <vector>

#include "basis/Report.h"
#include "basis/Timer.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/MatMul.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

template <class MatT>
MatT* MatNorm2DistInternal(MatT* a, MatT* b)
{
    typedef typename MatT::StorType StorType;
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Matrix.MatNorm2Dist");
    if (a->mWidth != b->mHeight)
    {
        TLOG_ERROR(sLog, "MatNorm2DistInternal operands: dimensionality problem");
        // MatMul would refuse these operands as well; nothing can be computed.
        return nullptr;
    }
    const bool debug = sLog.isDebugEnabled();
    Timer total(0);
    Timer stage(1);
    if (debug)
    {
        TLOG_DEBUG(sLog, "aT " << a->mHeight << " " << a->mWidth);
        TLOG_DEBUG(sLog, "b  " << b->mHeight << " " << b->mWidth);
    }

    const long long n = a->mHeight;
    const long long d = a->mWidth;
    const long long m = b->mWidth;

    // Squared norms of the rows of a, each summed left to right from 0.0.
    std::vector<StorType> aa(static_cast<size_t>(n));
    for (long long i = 0; i < n; ++i)
    {
        const StorType* row = a->mData + i * d;
        StorType sum = 0.0;
        for (long long k = 0; k < d; ++k)
        {
            const StorType square = row[k] * row[k];
            sum += square;
        }
        aa[i] = sum;
    }
    if (debug)
        TLOG_DEBUG(sLog, "aaT: " << Timer::Format(stage.SplitTime()));

    // Squared norms of the columns of b, rows in order; a row at a time for speed, the
    // sum of each column keeping its order.
    stage.Start();
    std::vector<StorType> bb(static_cast<size_t>(m), 0.0);
    StorType* bbData = bb.data();
    for (long long k = 0; k < d; ++k)
    {
        const StorType* row = b->mData + k * m;
        for (long long j = 0; j < m; ++j)
        {
            const StorType square = row[j] * row[j];
            bbData[j] += square;
        }
    }
    if (debug)
        TLOG_DEBUG(sLog, "bb: " << Timer::Format(stage.SplitTime()));

    stage.Start();
    MatT* ab = MatMul(a, b);
    if (!ab)
        return nullptr;
    if (debug)
        TLOG_DEBUG(sLog, "matmul: " << Timer::Format(stage.SplitTime()));

    stage.Start();
    for (long long i = 0; i < n; ++i)
    {
        StorType* row = ab->mData + i * m;
        const StorType aai = aa[i];
        for (long long j = 0; j < m; ++j)
        {
            const StorType cross = -2.0 * row[j];
            row[j] = std::sqrt(std::fabs((aai + bbData[j]) + cross));
        }
    }
    if (debug)
        TLOG_DEBUG(sLog, "sqrt(abs(aa + bb - 2ab)): " << Timer::Format(stage.SplitTime()));

    stage.Start();
    std::vector<StorType>().swap(aa);
    std::vector<StorType>().swap(bb);
    if (debug)
    {
        TLOG_DEBUG(sLog, "delete: " << Timer::Format(stage.SplitTime()));
        TLOG_DEBUG(sLog, total.SplitTime() << " (cpu-matnorm2dist-total)");
    }
    return ab;
}

template <class MatT>
MatT* MatNorm2DistTransposed(MatT* a, MatT* b)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Matrix.MatNorm2DistTransposed");
    if (a->mWidth != b->mWidth)
        TLOG_ERROR(sLog, "MatNorm2DistTransposed operands: A and B should be of same dimensionality");
    // The true transpose of b: with differing widths the distance stage then refuses.
    const long long m = b->mHeight;
    const long long d = b->mWidth;
    MatT* bT = MatCreate<MatT>(static_cast<int>(d), static_cast<int>(m));
    if (!bT->mData && bT->mDataSize > 0)
    {
        delete bT;
        return nullptr;
    }
    for (long long j = 0; j < m; ++j)
    {
        const typename MatT::StorType* src = b->mData + j * d;
        typename MatT::StorType* dst = bT->mData + j;
        for (long long k = 0; k < d; ++k)
            dst[k * m] = src[k];
    }
    MatT* result = MatNorm2DistInternal(a, bT);
    delete bT;
    return result;
}

template Array::Array2dReal64* MatNorm2DistInternal<Array::Array2dReal64>(Array::Array2dReal64*,
                                                                          Array::Array2dReal64*);
template Array::Array2dReal64* MatNorm2DistTransposed<Array::Array2dReal64>(Array::Array2dReal64*,
                                                                            Array::Array2dReal64*);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
