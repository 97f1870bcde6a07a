#include "core/column/ColumnTem.h"

#include <gtest/gtest.h>

#include "core/column/InvalidColumn.h"
#include "support/LogCapture.h"
#include "util/Quid.h"

using Tavlin::Quid;
using Tavlin::Core::Column::ColumnTem;
using TestSupport::LogCapture;

TEST(ColumnTem, ReserveKeepsTheLeadingValuesOnRequestAndReportsRefusal)
{
    ColumnTem<Quid> column(3);
    for (int i = 0; i < 3; ++i)
        column[i] = Quid(i, 10 + i);
    Quid* before = column.Data();
    EXPECT_TRUE(column.Reserve(3, false));
    EXPECT_EQ(column.Data(), before);
    // Growing, shrinking, and to nothing.
    for (int capacity : {6, 2, 0})
    {
        ASSERT_TRUE(column.Reserve(capacity, true));
        EXPECT_EQ(column.Capacity(), capacity);
        for (int i = 0; i < capacity && i < 3; ++i)
            EXPECT_EQ(column[i], Quid(i, 10 + i));
    }

    LogCapture log("Tavlin.Core.Column.ColumnTem");
    ColumnTem<int> ints(2);
    ints[1] = 7;
    EXPECT_FALSE(ints.Reserve(-1, true));
    EXPECT_EQ(log.Text(), "ColumnTem: could not resize, no memory\n");
    EXPECT_EQ(ints[1], 7);

    LogCapture invalidLog("Tavlin.Core.Column.InvalidColumn");
    Tavlin::Core::Column::InvalidColumn invalid;
    EXPECT_FALSE(invalid.Reserve(4, true));
    EXPECT_EQ(invalidLog.Text(), "[Reserve] Invalid call\n");
}
