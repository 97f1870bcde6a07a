#include "core/column/Copy.h"

#include <gtest/gtest.h>

#include "core/array/Array2dTem.h"
#include "core/column/ColumnTem.h"
#include "core/vector/VectorSet.h"
#include "support/LogCapture.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Column::ColumnTem;
using Tavlin::Core::Column::Copy;
using Tavlin::Core::Vector::VectorSet;
using TestSupport::LogCapture;

TEST(ColumnCopy, RangeThatFitsExactlyIsCopiedOneMoreIsRefused)
{
    LogCapture log("Tavlin.Core.Column.Copy");
    ColumnTem<double> src(5);
    ColumnTem<double> dst(4);
    for (int i = 0; i < 5; ++i)
        src[i] = 1.0 + i;
    for (int i = 0; i < 4; ++i)
        dst[i] = -1.0;

    Copy(&dst, &src, 3, 1, 2);
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(dst[0], -1.0);
    EXPECT_EQ(dst[1], 3.0);
    EXPECT_EQ(dst[3], 5.0);

    Copy(&dst, &src, 4, 0, 2);
    EXPECT_EQ(log.Text(), "Incompatible src range\n");
    Copy(&dst, &src, 2, 3, 0);
    EXPECT_EQ(log.Text(), "Incompatible src range\nIncompatible dst range\n");
    EXPECT_EQ(dst[3], 5.0);
}

TEST(ColumnCopy, VectorSetsCopyWholeVectors)
{
    LogCapture log("Tavlin.Core.Column.Copy");
    VectorSet<Array2dReal64> src(true, 2, 3);
    VectorSet<Array2dReal64> dst(true, 2, 2);
    for (int i = 0; i < 3; ++i)
    {
        src.GetVectorData(i)[0] = i;
        src.GetVectorData(i)[1] = 10.0 + i;
    }
    Copy(&dst, &src, 2, 0, 1);
    EXPECT_EQ(dst.GetVectorData(0)[0], 1.0);
    EXPECT_EQ(dst.GetVectorData(1)[1], 12.0);
    Copy(&dst, &src, 2, 1, 0);
    EXPECT_EQ(log.Text(), "Incompatible dst range\n");
    EXPECT_EQ(dst.GetVectorData(1)[1], 12.0);
}
