#include "core/column/ApplyOrder.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/LogCapture.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Column::ApplyOrder;
using Tavlin::Core::Column::ColumnTem;
using Tavlin::Core::Vector::VectorSet;

namespace
{

std::unique_ptr<ColumnTem<int>> Order(const std::vector<int>& places)
{
    std::unique_ptr<ColumnTem<int>> order(new ColumnTem<int>(static_cast<int>(places.size())));
    for (size_t i = 0; i < places.size(); ++i)
        (*order)[static_cast<int>(i)] = places[i];
    return order;
}

} // namespace

TEST(ApplyOrder, MovesEachElementToItsPlaceAcrossCycles)
{
    // Cycles (0 3 5) (1 2) and a fixed point; one long cycle; the identity.
    for (const std::vector<int>& places : {std::vector<int>{3, 2, 1, 5, 4, 0}, {1, 2, 3, 4, 0}, {0, 1, 2}})
    {
        const int n = static_cast<int>(places.size());
        std::unique_ptr<ColumnTem<int>> order = Order(places);
        ColumnTem<double> column(n);
        for (int i = 0; i < n; ++i)
            column[i] = 100.0 + i;
        ApplyOrder(&column, order.get());
        for (int i = 0; i < n; ++i)
        {
            EXPECT_EQ(column[places[i]], 100.0 + i) << "element " << i << " of " << n;
            EXPECT_EQ((*order)[i], places[i]);
        }
    }

    // Whole vectors move; rows beyond the order stay.
    std::unique_ptr<ColumnTem<int>> order = Order({2, 0, 1});
    VectorSet<Array2dReal64> set(true, 3, 4);
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k)
            set.GetVectorData(i)[k] = 10.0 * i + k;
    ApplyOrder(&set, order.get());
    const int from[4] = {1, 2, 0, 3};
    for (int place = 0; place < 4; ++place)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(set.GetVectorData(place)[k], 10.0 * from[place] + k);
}

TEST(ApplyOrder, RefusesShortColumnsAndOrdersThatAreNoPermutation)
{
    TestSupport::LogCapture log("Tavlin.Core.Column.ApplyOrder");
    std::unique_ptr<ColumnTem<int>> order = Order({1, 0, 2});
    // Empty and invalid columns: nothing to do, nothing said.
    ColumnTem<double> empty;
    ApplyOrder(&empty, order.get());
    Tavlin::Core::Column::InvalidColumn invalid;
    ApplyOrder(&invalid, order.get());
    EXPECT_EQ(log.Text(), "");

    ColumnTem<double> shortColumn(2);
    shortColumn[0] = 1.0;
    ApplyOrder(&shortColumn, order.get());
    EXPECT_EQ(shortColumn[0], 1.0);
    // Two elements sent to one place: reported, and the walk ends.
    ApplyOrder(&shortColumn, Order({1, 1}).get());
    EXPECT_EQ(log.Text(), "Column to reorder shorter than the presented order\n"
                          "Order to apply is not a permutation\n");
}
