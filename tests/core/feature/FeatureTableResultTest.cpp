#include "core/feature/FeatureTableResult.h"

#include <gtest/gtest.h>

#include "core/feature/FeatureTable.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Quid;
using Tavlin::Core::Vector::VectorTem;

TEST(FeatureTableResult, AddVectorMakesOneTablePerSubdivisionOnFirstUse)
{
    FeatureTableResult result(FeatureDefinition("dense-sift_ps_P1x1x0"), "info");
    VectorTem<double> vector(3);
    for (int k = 0; k < 3; ++k)
        vector[k] = k + 0.5;
    result.AddVector(Quid(0, 7), 2, vector);
    vector[0] = -1; // the table holds its own copy
    ASSERT_EQ(result.GetTableCount(), 3);
    EXPECT_EQ(result.GetTable(0), nullptr);
    EXPECT_EQ(result.GetTable(1), nullptr);
    FeatureTable* sub = result.GetTable(2);
    ASSERT_NE(sub, nullptr);
    EXPECT_EQ(sub->GetFeatureDefinition().AsString(), "dense-sift_ps_P1x1x0_sub_2");
    EXPECT_EQ(sub->mInfo, "info");
    EXPECT_EQ(sub->Capacity(), 500);
    EXPECT_EQ(sub->GetVector(0)[0], 0.5);

    result.AddVector(Quid(0, 8), 0, vector);
    result.AddVector(Quid(0, 9), 0, vector);
    EXPECT_EQ(result.GetTable(0)->GetFeatureDefinition().AsString(), "dense-sift_ps_P1x1x0");
    EXPECT_EQ(result.GetTable(0)->Size(), 2);
    EXPECT_EQ(result.GetTable(0)->GetQuid(1).GetSecond(), 9u);
}
