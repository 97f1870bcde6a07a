// Orders the rows of a point table by column 5 (cornerness), ascending or descending.
// Column 5 is sorted in place with its row numbers moving along; the other columns,
// descriptors included, then follow by ApplyOrder. Equal keys may change their order.
// Instance: the point-descriptor column set.
#ifndef TAVLIN_CORE_TABLE_SORTONCOLUMN5_H
#define TAVLIN_CORE_TABLE_SORTONCOLUMN5_H

#include "core/column/ApplyOrder.h"
#include "core/column/ColumnTem.h"
#include "core/table/TableTem.h"
#include "util/QuickSortCo.h"

namespace Tavlin
{
namespace Core
{
namespace Table
{

template <class Col1, class Col2, class Col3, class Col4, class Col5, class Col6, class Col7, class Col8,
          class Col9>
void SortOnColumn5(TableTem<Col1, Col2, Col3, Col4, Col5, Col6, Col7, Col8, Col9>* table, bool ascending)
{
    const int size = table->mSize;
    Column::ColumnTem<int> index(size);
    int* idx = index.mData;
    for (int i = 0; i < size; ++i)
        idx[i] = i;
    if (ascending)
        Util::QuickSortCo(table->mColumn5.mData, idx, 0, size - 1);
    else
        Util::QuickSortDescCo(table->mColumn5.mData, idx, 0, size - 1);

    // Row idx[k] now belongs at k.
    Column::ColumnTem<int> order(size);
    int* ord = order.mData;
    for (int k = 0; k < size; ++k)
        ord[idx[k]] = k;

    Column::ApplyOrder(&table->mColumn1, &order);
    Column::ApplyOrder(&table->mColumn2, &order);
    Column::ApplyOrder(&table->mColumn3, &order);
    Column::ApplyOrder(&table->mColumn4, &order);
    Column::ApplyOrder(&table->mColumn6, &order);
    Column::ApplyOrder(&table->mColumn7, &order);
    Column::ApplyOrder(&table->mColumn8, &order);
    Column::ApplyOrder(&table->mColumn9, &order);
}

extern template void SortOnColumn5(PointDescriptorTableTem* table, bool ascending);

} // namespace Table
} // namespace Core
} // namespace Tavlin

#endif
