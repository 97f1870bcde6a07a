#include "core/table/SortOnColumn5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/table/TableTem.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Table::PointDescriptorTableTem;
using Tavlin::Core::Table::SortOnColumn5;

namespace
{

// Row i: x = i, y = 100 + i, scale and orientation derived from i, cornerness as given,
// descriptor (i, -i, 1000 i).
void Fill(PointDescriptorTableTem& table, const std::vector<double>& cornerness)
{
    const int rows = static_cast<int>(cornerness.size());
    table.mColumn6.SetStorage(new Array2dReal64(3, 0, 0, 0));
    ASSERT_TRUE(table.Reserve(rows + 2, false));
    for (int i = 0; i < rows; ++i)
    {
        table.mColumn1[i] = i;
        table.mColumn2[i] = 100 + i;
        table.mColumn3[i] = 0.5 * i;
        table.mColumn4[i] = -0.25 * i;
        table.mColumn5[i] = cornerness[i];
        double* d = table.mColumn6.GetVectorData(i);
        d[0] = i;
        d[1] = -i;
        d[2] = 1000.0 * i;
    }
    table.SetSize(rows);
}

// Every row still carries its own values, recognised by x.
void ExpectRowsIntact(PointDescriptorTableTem& table, const std::vector<double>& cornerness)
{
    for (int k = 0; k < table.Size(); ++k)
    {
        const int i = static_cast<int>(table.mColumn1[k]);
        EXPECT_EQ(table.mColumn2[k], 100 + i);
        EXPECT_EQ(table.mColumn3[k], 0.5 * i);
        EXPECT_EQ(table.mColumn4[k], -0.25 * i);
        EXPECT_EQ(table.mColumn5[k], cornerness[i]);
        const double* d = table.mColumn6.GetVectorData(k);
        EXPECT_EQ(d[0], i);
        EXPECT_EQ(d[1], -i);
        EXPECT_EQ(d[2], 1000.0 * i);
    }
}

} // namespace

TEST(SortOnColumn5, DescendingPutsTheStrongestFirstAndMovesDescriptors)
{
    // More than 16 rows, so that the quicksort partitions before it selects.
    std::vector<double> cornerness;
    for (int i = 0; i < 40; ++i)
        cornerness.push_back(((i * 17) % 40) * 0.125 - 2.0);
    PointDescriptorTableTem table;
    Fill(table, cornerness);
    SortOnColumn5(&table, false);

    std::vector<double> expected = cornerness;
    std::sort(expected.begin(), expected.end(), std::greater<double>());
    for (int k = 0; k < 40; ++k)
        EXPECT_EQ(table.mColumn5[k], expected[k]);
    ExpectRowsIntact(table, cornerness);
    EXPECT_EQ(table.Size(), 40);
}

TEST(SortOnColumn5, AscendingWithEqualKeysKeepsRowsTogether)
{
    const std::vector<double> cornerness = {3.0, -1.0, 3.0, 0.0, -1.0, 2.0};
    PointDescriptorTableTem table;
    Fill(table, cornerness);
    SortOnColumn5(&table, true);
    const double expected[6] = {-1.0, -1.0, 0.0, 2.0, 3.0, 3.0};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(table.mColumn5[k], expected[k]);
    ExpectRowsIntact(table, cornerness);

    PointDescriptorTableTem empty;
    SortOnColumn5(&empty, true);
    EXPECT_EQ(empty.Size(), 0);
}
