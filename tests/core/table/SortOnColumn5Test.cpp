#include "core/table/SortOnColumn5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/table/TableTem.h"

using Tavlin::Core::Table::PointDescriptorTableTem;
using Tavlin::Core::Table::SortOnColumn5;

TEST(SortOnColumn5, OrdersByCornernessAndMovesWholeRowsWithTheirDescriptors)
{
    // Forty rows, so that the quicksort partitions before it selects; then equal keys.
    std::vector<double> many;
    for (int i = 0; i < 40; ++i)
        many.push_back(((i * 17) % 40) * 0.125 - 2.0);
    const std::vector<std::vector<double>> lists = {many, {3.0, -1.0, 3.0, 0.0, -1.0, 2.0}, {}};
    for (bool ascending : {false, true})
        for (const std::vector<double>& cornerness : lists)
        {
            SCOPED_TRACE(std::to_string(cornerness.size()) + (ascending ? " ascending" : " descending"));
            // Row i: x = i, y = 100 + i, scale, orientation, cornerness, descriptor (i, -i, 1000 i).
            const int rows = static_cast<int>(cornerness.size());
            PointDescriptorTableTem table;
            table.mColumn6.SetStorage(new Tavlin::Core::Array::Array2dReal64(3, 0, 0, 0));
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
            SortOnColumn5(&table, ascending);

            std::vector<double> sorted = cornerness;
            std::sort(sorted.begin(), sorted.end());
            if (!ascending)
                std::reverse(sorted.begin(), sorted.end());
            ASSERT_EQ(table.Size(), rows);
            for (int k = 0; k < rows; ++k)
            {
                // Every row still carries its own values, recognised by x.
                const int i = static_cast<int>(table.mColumn1[k]);
                EXPECT_EQ(table.mColumn5[k], sorted[k]);
                EXPECT_EQ(table.mColumn5[k], cornerness[i]);
                EXPECT_EQ(table.mColumn2[k], 100 + i);
                EXPECT_EQ(table.mColumn3[k] + table.mColumn4[k], 0.25 * i);
                const double* d = table.mColumn6.GetVectorData(k);
                EXPECT_EQ(d[0] - d[1] + d[2], 1002.0 * i);
            }
        }
}
