#include "core/column/Copy.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"

using Tavlin::Core::Column::ColumnTem;
using Tavlin::Core::Column::Copy;

TEST(ColumnCopy, RangesThatFitAreCopiedOthersRefused)
{
    TestSupport::LogCapture log("Tavlin.Core.Column.Copy");
    ColumnTem<double> src(5);
    ColumnTem<double> dst(4);
    for (int i = 0; i < 5; ++i)
        src[i] = 1.0 + i;
    for (int i = 0; i < 4; ++i)
        dst[i] = -1.0;
    // Exactly to the ends of both columns.
    Copy(&dst, &src, 3, 1, 2);
    EXPECT_EQ(log.Text(), "");
    const double expected[4] = {-1.0, 3.0, 4.0, 5.0};
    Copy(&dst, &src, 4, 0, 2);
    Copy(&dst, &src, 2, 3, 0);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(dst[i], expected[i]);
    EXPECT_EQ(log.Text(), "Incompatible src range\nIncompatible dst range\n");

    // Vector sets copy whole vectors.
    Tavlin::Core::Vector::VectorSet<Tavlin::Core::Array::Array2dReal64> vectors(true, 2, 3), target(true, 2, 2);
    for (int i = 0; i < 3; ++i)
    {
        vectors.GetVectorData(i)[0] = i;
        vectors.GetVectorData(i)[1] = 10.0 + i;
    }
    Copy(&target, &vectors, 2, 0, 1);
    Copy(&target, &vectors, 2, 1, 0);
    EXPECT_EQ(target.GetVectorData(0)[0], 1.0);
    EXPECT_EQ(target.GetVectorData(1)[1], 12.0);
    EXPECT_EQ(log.Text(), "Incompatible src range\nIncompatible dst range\nIncompatible dst range\n");
}
