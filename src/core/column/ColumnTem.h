// A table column of plain values: a block of `mCapacity` values that the column owns.
// The column knows only its capacity; the table that holds it knows how many rows are
// in use. Instances: int, double and Quid.
#ifndef TAVLIN_CORE_COLUMN_COLUMNTEM_H
#define TAVLIN_CORE_COLUMN_COLUMNTEM_H

#include <algorithm>
#include <cstdint>
#include <new>

#include "basis/Report.h"
#include "util/Quid.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

template <class T>
class ColumnTem
{
public:
    typedef T ValueType;

    // Values are not cleared.
    explicit ColumnTem(int capacity = 0) : mCapacity(0), mData(nullptr) { Reserve(capacity, false); }

    virtual ~ColumnTem() { delete[] mData; }

    ColumnTem(const ColumnTem&) = delete;
    ColumnTem& operator=(const ColumnTem&) = delete;

    // Reallocates to newCapacity, keeping min(old, new) values when keepData. The same
    // capacity costs nothing. False, after a logged error, when no memory was given;
    // the column then stays as it was.
    bool Reserve(int newCapacity, bool keepData)
    {
        if (newCapacity == mCapacity)
            return true;
        T* data = newCapacity > 0 ? new (std::nothrow) T[newCapacity] : nullptr;
        if (newCapacity < 0 || (newCapacity > 0 && !data))
        {
            TLOG_ERROR(sLog, "ColumnTem: could not resize, no memory");
            return false;
        }
        if (keepData && mData && data)
            std::copy(mData, mData + std::min(mCapacity, newCapacity), data);
        delete[] mData;
        mData = data;
        mCapacity = newCapacity;
        return true;
    }

    int Capacity() const { return mCapacity; }
    T* Data() const { return mData; }
    const T& Get(int i) const { return mData[i]; }
    void Set(int i, const T& value) { mData[i] = value; }
    T& operator[](int i) { return mData[i]; }
    const T& operator[](int i) const { return mData[i]; }

    static log4cpp::Category& sLog;

    int32_t mCapacity;
    T* mData;
};

template <class T>
log4cpp::Category& ColumnTem<T>::sLog = log4cpp::Category::getInstance("Tavlin.Core.Column.ColumnTem");

extern template class ColumnTem<int>;
extern template class ColumnTem<double>;
extern template class ColumnTem<Quid>;

} // namespace Column
} // namespace Core
} // namespace Tavlin

#endif
