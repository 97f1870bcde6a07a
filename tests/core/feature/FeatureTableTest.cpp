#include "core/feature/FeatureTable.h"

#include <gtest/gtest.h>

using namespace Tavlin::Core::Feature;
using Tavlin::Quid;
using Tavlin::Core::Vector::VectorTem;

TEST(FeatureTable, DumpsTheEndsOfEachVectorAndCountsWordsByTheLastId)
{
    FeatureTable table(FeatureDefinition("words_k_3"), 4, 5);
    double values[5] = {1, 2, 3, 4, 5};
    for (int id = 0; id < 3; ++id)
        table.Add(Quid(0, id), VectorTem<double>(5, values, true));
    EXPECT_EQ(GetCodebookLength(&table), 3);
    testing::internal::CaptureStdout();
    table.Dump(1, 99, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Dumping table from 1 to 3 (table size=3, capacity=4, featureLen=5)\n1=object, 2=words, \n"
              "0:0:0:1, (1,..., 5)\n0:0:0:2, (1,..., 5)\n\n");

    // Not the size but the last row's id decides; an empty table is refused.
    table.Add(Quid(0, 9), VectorTem<double>(5, values, true));
    EXPECT_EQ(GetCodebookLength(&table), 10);
    FeatureTable empty(FeatureDefinition("words"), 0, 5);
    EXPECT_EQ(GetCodebookLength(&empty), 0);
}
