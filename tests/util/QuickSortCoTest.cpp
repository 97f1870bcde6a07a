#include "util/QuickSortCo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

using Tavlin::Util::QuickSortCo;
using Tavlin::Util::QuickSortDescCo;

TEST(QuickSortCoOrder, SortsKeysAndMovesCompanionsForSmallAndLargeRanges)
{
    std::mt19937 engine(3);
    std::uniform_int_distribution<int> values(0, 40);
    for (int size : {1, 2, 15, 16, 17, 100, 2000})
        for (bool descending : {false, true})
        {
            std::vector<double> original(size);
            for (double& v : original)
                v = values(engine) * 0.5;
            std::vector<double> keys = original;
            std::vector<int> co(size);
            for (int i = 0; i < size; ++i)
                co[i] = i;
            (descending ? QuickSortDescCo<double, int> : QuickSortCo<double, int>)(keys.data(), co.data(), 0,
                                                                                    size - 1);
            std::vector<double> expected = original;
            if (descending)
                std::sort(expected.begin(), expected.end(), std::greater<double>());
            else
                std::sort(expected.begin(), expected.end());
            EXPECT_EQ(keys, expected) << size;
            // The companions are a permutation that carries each key's origin.
            std::vector<int> sortedCo = co;
            std::sort(sortedCo.begin(), sortedCo.end());
            for (int i = 0; i < size; ++i)
            {
                ASSERT_EQ(sortedCo[i], i);
                ASSERT_EQ(original[co[i]], keys[i]);
            }
        }
}

TEST(QuickSortCoOrder, SelectionKeepsTheEarlierOfEqualKeysAndSortsOnlyTheRange)
{
    std::vector<double> keys{9.0, 2.0, 1.0, 1.0, -5.0};
    std::vector<int> co{0, 1, 2, 3, 4};
    QuickSortCo(keys.data(), co.data(), 1, 3);
    EXPECT_EQ(keys, (std::vector<double>{9.0, 1.0, 1.0, 2.0, -5.0}));
    EXPECT_EQ(co, (std::vector<int>{0, 2, 3, 1, 4}));

    std::vector<double> desc{1.0, 3.0, 3.0};
    std::vector<int> dco{0, 1, 2};
    QuickSortDescCo(desc.data(), dco.data(), 0, 2);
    EXPECT_EQ(dco, (std::vector<int>{1, 2, 0}));
}
