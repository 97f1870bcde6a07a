// A table of up to nine typed columns of equal capacity, fixed at compile time. A
// column is a ColumnTem of plain values, a VectorSet of vectors kept in one matrix, or
// an InvalidColumn in an unused slot. The capacity is that of column 1; Reserve keeps
// all columns at the same capacity, and the base's mSize counts the rows in use.
// Named instances: the point-descriptor, feature and random-tree column sets below.
#ifndef TAVLIN_CORE_TABLE_TABLETEM_H
#define TAVLIN_CORE_TABLE_TABLETEM_H

#include <iostream>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/column/ColumnTem.h"
#include "core/column/InvalidColumn.h"
#include "core/table/Table.h"
#include "core/vector/VectorSet.h"
#include "core/vector/VectorTem.h"
#include "util/Quid.h"

namespace Tavlin
{
namespace Core
{
namespace Table
{

namespace Detail
{

template <class T>
void DumpCell(std::ostream& out, const Column::ColumnTem<T>& column, int row)
{
    out << column.mData[row] << ", ";
}

template <class ArrayT>
void DumpCell(std::ostream& out, const Vector::VectorSet<ArrayT>& column, int row)
{
    const typename ArrayT::StorType* v = column.GetVectorData(row);
    const int length = column.GetVectorLength(row);
    out << "(";
    for (int k = 0; k < length; ++k)
        out << (k ? "," : "") << v[k];
    out << "), ";
}

inline void DumpCell(std::ostream&, const Column::InvalidColumn&, int) {}

} // namespace Detail

template <class Col1, class Col2 = Column::InvalidColumn, class Col3 = Column::InvalidColumn,
          class Col4 = Column::InvalidColumn, class Col5 = Column::InvalidColumn,
          class Col6 = Column::InvalidColumn, class Col7 = Column::InvalidColumn,
          class Col8 = Column::InvalidColumn, class Col9 = Column::InvalidColumn>
class TableTem : public Table
{
public:
    typedef Col1 Column1Type;
    typedef Col2 Column2Type;
    typedef Col3 Column3Type;
    typedef Col4 Column4Type;
    typedef Col5 Column5Type;
    typedef Col6 Column6Type;
    typedef Col7 Column7Type;
    typedef Col8 Column8Type;
    typedef Col9 Column9Type;

    // Columns of the given capacity, values undefined; vector sets of length 0.
    explicit TableTem(int capacity = 0) : mInfo("no info")
    {
        if (capacity != 0)
            Reserve(capacity, false);
    }

    ~TableTem() override {}

    TableTem(const TableTem&) = delete;
    TableTem& operator=(const TableTem&) = delete;

    int Capacity() const { return mColumn1.Capacity(); }

    // Reserves every real column in order and stops at the first failure. The size is
    // clamped to the new capacity.
    bool Reserve(int newCapacity, bool keepData)
    {
        if (newCapacity == mColumn1.Capacity())
            return true;
        const bool done = ReserveColumn(mColumn1, newCapacity, keepData) &&
                          ReserveColumn(mColumn2, newCapacity, keepData) &&
                          ReserveColumn(mColumn3, newCapacity, keepData) &&
                          ReserveColumn(mColumn4, newCapacity, keepData) &&
                          ReserveColumn(mColumn5, newCapacity, keepData) &&
                          ReserveColumn(mColumn6, newCapacity, keepData) &&
                          ReserveColumn(mColumn7, newCapacity, keepData) &&
                          ReserveColumn(mColumn8, newCapacity, keepData) &&
                          ReserveColumn(mColumn9, newCapacity, keepData);
        if (!done)
            return false;
        if (mSize > newCapacity)
            mSize = newCapacity;
        return true;
    }

    // Appends a row to a table of a Quid column and a vector column; the capacity
    // doubles when full (0, 1, 2, 4, ...). The vector goes in as a copy, or as a
    // wrapper on the same data when v is a wrapper. The vector set's own size is not
    // touched: the table's size is what counts.
    template <int Unused = 0>
    bool Add(Quid q, Vector::VectorTem<double> v)
    {
        if (mSize == Capacity())
        {
            int newCapacity = 2 * mSize;
            if (newCapacity <= 0)
                newCapacity = 1;
            if (!Reserve(newCapacity, true))
                return false;
        }
        mColumn1.mData[mSize] = q;
        mColumn2.Set(mSize, v);
        ++mSize;
        return true;
    }

    void Dump(int from, int to) const override { DumpTo(std::cout, from, to); }

    void DumpTo(std::ostream& out, int from, int to) const
    {
        if (to == -1)
            to = mSize;
        if (to < from)
            to = from;
        out << "Dumping table from " << from << " to " << to << " (table size=" << mSize
            << ", capacity=" << Capacity() << ")" << std::endl;
        for (size_t c = 0; c < mColumnNames.size(); ++c)
            if (!mColumnNames[c].empty())
                out << c + 1 << "=" << mColumnNames[c] << ", ";
        out << std::endl;
        for (int row = from < 0 ? 0 : from; row < to && row < Capacity(); ++row)
        {
            Detail::DumpCell(out, mColumn1, row);
            Detail::DumpCell(out, mColumn2, row);
            Detail::DumpCell(out, mColumn3, row);
            Detail::DumpCell(out, mColumn4, row);
            Detail::DumpCell(out, mColumn5, row);
            Detail::DumpCell(out, mColumn6, row);
            Detail::DumpCell(out, mColumn7, row);
            Detail::DumpCell(out, mColumn8, row);
            Detail::DumpCell(out, mColumn9, row);
            out << std::endl;
        }
    }

    Col1 mColumn1;
    Col2 mColumn2;
    Col3 mColumn3;
    Col4 mColumn4;
    Col5 mColumn5;
    Col6 mColumn6;
    Col7 mColumn7;
    Col8 mColumn8;
    Col9 mColumn9;
    std::vector<std::string> mColumnNames;
    std::string mInfo;

private:
    template <class ColumnT>
    static bool ReserveColumn(ColumnT& column, int newCapacity, bool keepData)
    {
        if constexpr (std::is_same<ColumnT, Column::InvalidColumn>::value)
            return true;
        else
            return column.Reserve(newCapacity, keepData);
    }
};

// The column sets of the system's tables.
typedef TableTem<Column::ColumnTem<double>, Column::ColumnTem<double>, Column::ColumnTem<double>,
                 Column::ColumnTem<double>, Column::ColumnTem<double>, Vector::VectorSet<Array::Array2dReal64>>
    PointDescriptorTableTem;
typedef TableTem<Column::ColumnTem<Quid>, Vector::VectorSet<Array::Array2dReal64>> FeatureTableTem;
typedef TableTem<Column::ColumnTem<int>, Column::ColumnTem<int>, Column::ColumnTem<double>> RandomTreeTableTem;

extern template class TableTem<Column::ColumnTem<double>, Column::ColumnTem<double>, Column::ColumnTem<double>,
                               Column::ColumnTem<double>, Column::ColumnTem<double>,
                               Vector::VectorSet<Array::Array2dReal64>>;
extern template class TableTem<Column::ColumnTem<Quid>, Vector::VectorSet<Array::Array2dReal64>>;
extern template class TableTem<Column::ColumnTem<int>, Column::ColumnTem<int>, Column::ColumnTem<double>>;

} // namespace Table
} // namespace Core
} // namespace Tavlin

#endif
