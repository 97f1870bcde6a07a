#include "core/column/ApplyOrder.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/array/Array2dTem.h"
#include "core/column/ColumnTem.h"
#include "core/column/InvalidColumn.h"
#include "core/vector/VectorSet.h"
#include "support/LogCapture.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Column::ApplyOrder;
using Tavlin::Core::Column::ColumnTem;
using Tavlin::Core::Column::InvalidColumn;
using Tavlin::Core::Vector::VectorSet;
using TestSupport::LogCapture;

namespace
{

void SetOrder(ColumnTem<int>& order, const std::vector<int>& places)
{
    order.Reserve(static_cast<int>(places.size()), false);
    for (size_t i = 0; i < places.size(); ++i)
        order[static_cast<int>(i)] = places[i];
}

} // namespace

TEST(ApplyOrder, MovesEachElementToItsPlaceAcrossSeveralCycles)
{
    // Cycles (0 3 5), (1 2), and the fixed point 4.
    ColumnTem<int> order;
    SetOrder(order, {3, 2, 1, 5, 4, 0});
    ColumnTem<double> column(6);
    for (int i = 0; i < 6; ++i)
        column[i] = 100.0 + i;
    ApplyOrder(&column, &order);
    // Element i now stands at order[i].
    const std::vector<int> places = {3, 2, 1, 5, 4, 0};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(column[places[i]], 100.0 + i) << "element " << i;
    // The order itself is left as it was.
    EXPECT_EQ(order[0], 3);
    EXPECT_EQ(order[5], 0);

    // One long cycle: a rotation by one.
    ColumnTem<int> rotate;
    SetOrder(rotate, {1, 2, 3, 4, 0});
    ColumnTem<double> ring(5);
    for (int i = 0; i < 5; ++i)
        ring[i] = i;
    ApplyOrder(&ring, &rotate);
    EXPECT_EQ(ring[0], 4.0);
    EXPECT_EQ(ring[1], 0.0);
    EXPECT_EQ(ring[4], 3.0);
}

TEST(ApplyOrder, MovesWholeVectors)
{
    ColumnTem<int> order;
    SetOrder(order, {2, 0, 1});
    VectorSet<Array2dReal64> set(true, 3, 4);
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k)
            set.GetVectorData(i)[k] = 10.0 * i + k;
    ApplyOrder(&set, &order);
    const int from[3] = {1, 2, 0};
    for (int place = 0; place < 3; ++place)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(set.GetVectorData(place)[k], 10.0 * from[place] + k);
    // Rows beyond the order stay.
    EXPECT_EQ(set.GetVectorData(3)[2], 32.0);
}

TEST(ApplyOrder, IdentityEmptyAndInvalidColumnsChangeNothing)
{
    LogCapture log("Tavlin.Core.Column.ApplyOrder");
    ColumnTem<int> identity;
    SetOrder(identity, {0, 1, 2});
    ColumnTem<double> column(3);
    column[0] = 5.0;
    column[1] = 6.0;
    column[2] = 7.0;
    ApplyOrder(&column, &identity);
    EXPECT_EQ(column[0], 5.0);
    EXPECT_EQ(column[2], 7.0);

    ColumnTem<double> empty;
    ApplyOrder(&empty, &identity);
    InvalidColumn invalid;
    ApplyOrder(&invalid, &identity);
    EXPECT_EQ(log.Text(), "");
}

TEST(ApplyOrder, RefusesShortColumnsAndOrdersThatAreNoPermutation)
{
    LogCapture log("Tavlin.Core.Column.ApplyOrder");
    ColumnTem<int> order;
    SetOrder(order, {1, 0, 2});
    ColumnTem<double> shortColumn(2);
    shortColumn[0] = 1.0;
    shortColumn[1] = 2.0;
    ApplyOrder(&shortColumn, &order);
    EXPECT_EQ(log.Text(), "Column to reorder shorter than the presented order\n");
    EXPECT_EQ(shortColumn[0], 1.0);

    // Two elements sent to one place: reported, and the walk ends.
    ColumnTem<int> twice;
    SetOrder(twice, {1, 1, 0});
    ColumnTem<double> column(3);
    ApplyOrder(&column, &twice);
    ColumnTem<int> outside;
    SetOrder(outside, {3, 0, 1});
    ApplyOrder(&column, &outside);
    EXPECT_EQ(log.Text(), "Column to reorder shorter than the presented order\n"
                          "Order to apply is not a permutation\n"
                          "Order to apply is not a permutation\n");
}
