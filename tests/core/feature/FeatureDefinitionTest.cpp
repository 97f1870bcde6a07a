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
    // The lone tail is dropped; the text of the result reads back to itself.
    for (const char* text : {"rgbhistogram_bins_15", "harrislaplace-sift", ""})
        EXPECT_EQ(FeatureDefinition(text).AsString(), text);
    EXPECT_EQ(histogram.AsString(), "rgbhistogram_bins_15");
    EXPECT_TRUE(FeatureDefinition("").parameters.empty());
    EXPECT_EQ(FeatureDefinition().name, "noName");
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
