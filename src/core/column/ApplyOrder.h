// Reorders a column in place by a permutation: order[i] is the place to which element
// i moves. The permutation's cycles are followed one by one, carrying one element at a
// time, so that no second column is allocated. Instances: ColumnTem<double>,
// VectorSet<Array2dReal64> (whole vectors move) and InvalidColumn (nothing moves).
#ifndef TAVLIN_CORE_COLUMN_APPLYORDER_H
#define TAVLIN_CORE_COLUMN_APPLYORDER_H

#include <algorithm>
#include <utility>
#include <vector>

#include "basis/Report.h"
#include "core/array/Array2dTem.h"
#include "core/column/ColumnTem.h"
#include "core/column/InvalidColumn.h"
#include "core/vector/VectorSet.h"
#include "core/vector/VectorTem.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

namespace Detail
{

inline log4cpp::Category& ApplyOrderLog()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Column.ApplyOrder");
    return sLog;
}

// Walks the cycles of `order` over n elements; pick(i) takes element i into the hand,
// swapWith(j) exchanges the hand with element j, put(i) drops the hand at i. False when
// `order` is no permutation of 0..n-1 (the walk stops there instead of looping).
template <class Pick, class SwapWith, class Put>
bool WalkCycles(const int* order, int n, Pick pick, SwapWith swapWith, Put put)
{
    std::vector<int> work(order, order + n);
    for (int i = 0; i < n; ++i)
    {
        if (work[i] == i)
            continue;
        int j = work[i];
        work[i] = i;
        pick(i);
        while (j != i)
        {
            if (j < 0 || j >= n || work[j] == j)
            {
                put(i);
                return false;
            }
            swapWith(j);
            const int next = work[j];
            work[j] = j;
            j = next;
        }
        put(i);
    }
    return true;
}

inline bool OrderFits(int columnCapacity, const ColumnTem<int>* order)
{
    if (columnCapacity < order->mCapacity)
    {
        TLOG_ERROR(ApplyOrderLog(), "Column to reorder shorter than the presented order");
        return false;
    }
    return true;
}

inline void ReportNoPermutation()
{
    TLOG_ERROR(ApplyOrderLog(), "Order to apply is not a permutation");
}

template <class T>
void ApplyOrderTo(ColumnTem<T>* column, ColumnTem<int>* order)
{
    if (column->mCapacity == 0 || !OrderFits(column->mCapacity, order))
        return;
    T* data = column->mData;
    T hand = T();
    const bool valid = WalkCycles(
        order->mData, order->mCapacity, [&](int i) { hand = data[i]; },
        [&](int j) { std::swap(hand, data[j]); }, [&](int i) { data[i] = hand; });
    if (!valid)
        ReportNoPermutation();
}

template <class ArrayT>
void ApplyOrderTo(Vector::VectorSet<ArrayT>* column, ColumnTem<int>* order)
{
    typedef typename ArrayT::StorType StorType;
    if (column->mCapacity == 0 || !OrderFits(column->mCapacity, order))
        return;
    int longest = 0;
    for (int i = 0; i < order->mCapacity; ++i)
        longest = std::max(longest, column->GetVectorLength(i));
    // The carried vector and the one it displaces; their roles swap at each step.
    Vector::VectorTem<StorType> hand(longest);
    Vector::VectorTem<StorType> spare(longest);
    const bool valid = WalkCycles(
        order->mData, order->mCapacity,
        [&](int i) { std::copy_n(column->GetVectorData(i), column->GetVectorLength(i), hand.mData); },
        [&](int j) {
            std::copy_n(column->GetVectorData(j), column->GetVectorLength(j), spare.mData);
            column->Set(j, Vector::VectorTem<StorType>(longest, hand.mData, true));
            std::swap(hand.mData, spare.mData);
        },
        [&](int i) { column->Set(i, Vector::VectorTem<StorType>(longest, hand.mData, true)); });
    if (!valid)
        ReportNoPermutation();
}

inline void ApplyOrderTo(InvalidColumn*, ColumnTem<int>*) {}

} // namespace Detail

template <class ColumnT>
void ApplyOrder(ColumnT* column, ColumnTem<int>* order)
{
    Detail::ApplyOrderTo(column, order);
}

extern template void ApplyOrder<ColumnTem<double>>(ColumnTem<double>*, ColumnTem<int>*);
extern template void ApplyOrder<Vector::VectorSet<Array::Array2dReal64>>(Vector::VectorSet<Array::Array2dReal64>*,
                                                                          ColumnTem<int>*);
extern template void ApplyOrder<InvalidColumn>(InvalidColumn*, ColumnTem<int>*);

} // namespace Column
} // namespace Core
} // namespace Tavlin

#endif
