// Copies a range of elements from one column into another of the same kind, after
// checking that both ranges lie within the columns' capacities. Instances: pairs of
// ColumnTem<double> and pairs of VectorSet<Array2dReal64> (whole vectors).
#ifndef TAVLIN_CORE_COLUMN_COPY_H
#define TAVLIN_CORE_COLUMN_COPY_H

#include <algorithm>
#include <cstring>

#include "basis/Report.h"
#include "core/array/Array2dTem.h"
#include "core/column/ColumnTem.h"
#include "core/vector/VectorSet.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

namespace Detail
{

inline log4cpp::Category& CopyLog()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Column.Copy");
    return sLog;
}

template <class T>
void CopyRange(ColumnTem<T>* dst, ColumnTem<T>* src, int count, int dstStart, int srcStart)
{
    std::copy_n(src->mData + srcStart, count, dst->mData + dstStart);
}

// Each vector moves with the length of the shorter of its two slots.
template <class ArrayT>
void CopyRange(Vector::VectorSet<ArrayT>* dst, Vector::VectorSet<ArrayT>* src, int count, int dstStart,
               int srcStart)
{
    for (int k = 0; k < count; ++k)
    {
        const int length = std::min(dst->GetVectorLength(dstStart + k), src->GetVectorLength(srcStart + k));
        if (length > 0)
            std::memmove(dst->GetVectorData(dstStart + k), src->GetVectorData(srcStart + k),
                        static_cast<size_t>(length) * sizeof(typename ArrayT::StorType));
    }
}

} // namespace Detail

// Element srcStart + k of src goes to dstStart + k of dst, k = 0 .. count-1. A range
// outside either column is reported and nothing is copied.
template <class DstT, class SrcT>
void Copy(DstT* dst, SrcT* src, int count, int dstStart, int srcStart)
{
    const long long n = count;
    if (count < 0 || srcStart < 0 || srcStart + n > src->Capacity())
    {
        TLOG_ERROR(Detail::CopyLog(), "Incompatible src range");
        return;
    }
    if (dstStart < 0 || dstStart + n > dst->Capacity())
    {
        TLOG_ERROR(Detail::CopyLog(), "Incompatible dst range");
        return;
    }
    Detail::CopyRange(dst, src, count, dstStart, srcStart);
}

extern template void Copy<ColumnTem<double>, ColumnTem<double>>(ColumnTem<double>*, ColumnTem<double>*, int, int,
                                                                int);
extern template void Copy<Vector::VectorSet<Array::Array2dReal64>, Vector::VectorSet<Array::Array2dReal64>>(
    Vector::VectorSet<Array::Array2dReal64>*, Vector::VectorSet<Array::Array2dReal64>*, int, int, int);

} // namespace Column
} // namespace Core
} // namespace Tavlin

#endif
