#include "core/feature/FeatureDefinition.h"

#include <gtest/gtest.h>

using Tavlin::Core::Feature::FeatureDefinition;

TEST(FeatureDefinitionText, SplitsOnUnderscoresAndRoundTrips)
{
    FeatureDefinition histogram("rgbhistogram_bins_15_x");
    EXPECT_EQ(histogram.name, "rgbhistogram");
    ASSERT_EQ(histogram.parameters.size(), 1u);
    EXPECT_EQ(histogram.parameters[0].name, "bins");
    EXPECT_EQ(histogram.parameters[0].value, "15");
    EXPECT_EQ(histogram.AsString(), "rgbhistogram_bins_15");
    EXPECT_EQ(FeatureDefinition(histogram.AsString()).AsString(), histogram.AsString());

    FeatureDefinition empty("");
    EXPECT_EQ(empty.name, "");
    EXPECT_TRUE(empty.parameters.empty());
    EXPECT_EQ(empty.AsString(), "");
    EXPECT_EQ(FeatureDefinition().name, "noName");

    FeatureDefinition plain("harrislaplace-sift");
    EXPECT_EQ(plain.AsString(), "harrislaplace-sift");
}

TEST(FeatureDefinitionParameters, ReplaceInPlaceOrAppend)
{
    FeatureDefinition definition("dense_ds_6-1.2_ow_0.5");
    definition.AddParameter<std::string>("ds", "10-1.6");
    definition.AddParameter("sub", 2);
    EXPECT_EQ(definition.AsString(), "dense_ds_10-1.6_ow_0.5_sub_2");
    EXPECT_EQ(definition.GetParameter("ow", "x"), "0.5");
    EXPECT_EQ(definition.GetParameter("nosuch", "8"), "8");
}
