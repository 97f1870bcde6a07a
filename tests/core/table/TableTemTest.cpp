#include "core/table/TableTem.h"

#include <gtest/gtest.h>

#include <sstream>

#include "core/vector/VectorTem.h"
#include "util/Quid.h"

using Tavlin::Quid;
using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Table::FeatureTableTem;
using Tavlin::Core::Table::PointDescriptorTableTem;
using Tavlin::Core::Vector::VectorTem;

TEST(TableTem, AddGrowsByDoublingFromZeroAndCopiesTheVectors)
{
    FeatureTableTem table;
    EXPECT_EQ(table.Capacity(), 0);
    table.mColumn2.SetStorage(new Array2dReal64(3, 0, 0, 0));
    const int expected[6] = {1, 2, 4, 4, 8, 8};
    double data[3];
    for (int i = 0; i < 6; ++i)
    {
        for (int k = 0; k < 3; ++k)
            data[k] = 10.0 * i + k;
        ASSERT_TRUE(table.Add(Quid(i, 100 + i), VectorTem<double>(3, data, true)));
        EXPECT_EQ(table.Size(), i + 1);
        EXPECT_EQ(table.Capacity(), expected[i]) << "after row " << i;
        EXPECT_EQ(table.mColumn2.Capacity(), expected[i]);
    }
    // Earlier rows survived every growth, and not as views of `data`.
    for (int i = 0; i < 6; ++i)
    {
        EXPECT_EQ(table.mColumn1[i], Quid(i, 100 + i));
        EXPECT_EQ(table.mColumn2.GetVectorData(i)[0], 10.0 * i);
        EXPECT_EQ(table.mColumn2.GetVectorData(i)[2], 10.0 * i + 2);
    }
}

TEST(TableTem, ReserveMovesAllColumnsAndClampsTheSize)
{
    PointDescriptorTableTem table(4);
    table.mColumn6.SetStorage(new Array2dReal64(2, 4, 0, 0));
    for (int i = 0; i < 4; ++i)
    {
        table.mColumn5[i] = -i;
        table.mColumn6.GetVectorData(i)[1] = 7.0 * i;
    }
    table.SetSize(4);
    ASSERT_TRUE(table.Reserve(3, true));
    EXPECT_EQ(table.Size(), 3);
    EXPECT_EQ(table.mColumn1.Capacity(), 3);
    EXPECT_EQ(table.mColumn6.Capacity(), 3);
    EXPECT_EQ(table.mColumn5[2], -2.0);
    EXPECT_EQ(table.mColumn6.GetVectorData(2)[1], 14.0);
}

TEST(TableTem, DumpPrintsHeaderNamesAndRows)
{
    FeatureTableTem table;
    table.mColumn2.SetStorage(new Array2dReal64(2, 0, 0, 0));
    table.mColumnNames = {"object", "", "sift"};
    VectorTem<double> v(2);
    v[0] = 0.5;
    v[1] = 1e-07;
    table.Add(Quid::FromParts(1, 2, 3, 4), v);
    v[0] = 2.0;
    table.Add(Quid(), v);

    std::ostringstream out;
    table.DumpTo(out, 0, -1);
    EXPECT_EQ(out.str(), "Dumping table from 0 to 2 (table size=2, capacity=2)\n"
                         "1=object, 3=sift, \n"
                         "1:2:3:4, (0.5,1e-07), \n"
                         "0:0:0:0, (2,1e-07), \n");
    std::ostringstream part;
    table.DumpTo(part, 2, 1);
    EXPECT_EQ(part.str(), "Dumping table from 2 to 2 (table size=2, capacity=2)\n1=object, 3=sift, \n");
}
