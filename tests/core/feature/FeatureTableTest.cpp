#include "core/feature/FeatureTable.h"

#include <gtest/gtest.h>

using namespace Tavlin::Core::Feature;
using Tavlin::Quid;
using Tavlin::Core::Vector::VectorTem;

TEST(FeatureTable, DumpsTheEndsOfEachVector)
{
    FeatureTable table(FeatureDefinition("words_k_3"), 4, 5);
    double values[5] = {1, 2, 3, 4, 5};
    for (int id = 0; id < 3; ++id)
        table.Add(Quid(0, id), VectorTem<double>(5, values, true));
    testing::internal::CaptureStdout();
    table.Dump(1, 99, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Dumping table from 1 to 3 (table size=3, capacity=4, featureLen=5)\n1=object, 2=words, \n"
              "0:0:0:1, (1,..., 5)\n0:0:0:2, (1,..., 5)\n\n");
}
