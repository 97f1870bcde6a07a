#include "core/feature/InterestPointFeature.h"

#include <gtest/gtest.h>

#include "basis/CmdOptions.h"

using Tavlin::Core::Feature::InterestPointFeature;
using Tavlin::Util::PropertySet;

namespace
{
// The snapshot the driver takes: every registered option with its default, then the
// given overrides.
PropertySet Snapshot(const std::vector<std::pair<std::string, std::string>>& overrides)
{
    Tavlin::CmdOptions& options = Tavlin::CmdOptions::GetInstance();
    options.Reset();
    options.Initialise(false, false, false);
    InterestPointFeature::AddCmdOptions();
    PropertySet set;
    for (size_t i = 0; i < options.GetOptionCount(); ++i)
        set.Add(options.GetOptionName(i), options.GetString(options.GetOptionName(i), ""));
    for (const auto& [key, value] : overrides)
        set.Add(key, value);
    return set;
}

std::string NameOf(const std::vector<std::pair<std::string, std::string>>& overrides)
{
    PropertySet set = Snapshot(overrides);
    InterestPointFeature feature(set);
    return feature.GetFeatureDefinition().AsString();
}
} // namespace

TEST(InterestPointFeatureName, ComposesDetectorDescriptorAndParameters)
{
    EXPECT_EQ(NameOf({{"descriptor", "sift"}}), "harrislaplace-sift");
    EXPECT_EQ(NameOf({}), "harrislaplace-");
    EXPECT_EQ(NameOf({{"harrisThreshold", "1e-09"}, {"descriptor", "sift"}}), "harrislaplace-sift_ht_1e-09");
    EXPECT_EQ(NameOf({{"detector", "colorharrislaplace"}, {"harrisThreshold", "0.1"}}), "colorharrislaplace-");
    EXPECT_EQ(NameOf({{"descriptor", "surf"}, {"harrisThreshold", "2e-9"}}), "harrislaplace-surf_sc_3-2-4_ht_2e-9");
    EXPECT_EQ(NameOf({{"detector", "densesampling"}}), "densesampling-_ds_6-1.2");
    EXPECT_EQ(NameOf({{"detector", "dense"}, {"ds_spacing", "10"}, {"ds_scales", "1.6+3.2"}}),
              "dense-_ds_10-1.6-3.2");
    EXPECT_EQ(NameOf({{"detector", "dense"}, {"ds_spacing", "0"}}), "dense-_ds_0-0");
    EXPECT_EQ(NameOf({{"detector", "densesampling"}, {"descriptor", "densesift"}}), "densesampling-densesift_ds_6-1.2");
    EXPECT_EQ(NameOf({{"detector", "none"}, {"descriptor", "dift"}}), "none-dift_ds_");
    EXPECT_EQ(NameOf({{"detector", "none"}, {"descriptor", "rgbdift"}, {"ds_scales", "6-4+8-4"}}),
              "none-rgbdift_ds_6-4-8-4");
    EXPECT_EQ(NameOf({{"descriptor", "opponentsift"}, {"descriptorOpponentWeight", "0.5"}}),
              "harrislaplace-opponentsift_ow_0.5");
    // Underscores in the prefix make parameters; the lone tail is dropped.
    EXPECT_EQ(NameOf({{"featurePrefix", "run_v_2_"}, {"descriptor", "sift"}}), "run_v_2");
    EXPECT_EQ(NameOf({{"featurePrefix", "my"}, {"descriptor", "sift"}}), "myharrislaplace-sift");
}

TEST(InterestPointFeatureConfig, ReadsItsMembersFromTheSnapshot)
{
    PropertySet dense = Snapshot({{"detector", "dense"}, {"ds_scales", "1.6+3.2"}, {"borderWidth", "5"},
                                  {"keepLimited", "10"}, {"recGauss", "1"}, {"outputFormat", "binary"}});
    InterestPointFeature feature(dense);
    EXPECT_EQ(feature.GetScales(), (std::vector<double>{1.6, 3.2}));
    EXPECT_EQ(feature.GetBorderWidth(), 5);
    EXPECT_EQ(feature.GetKeepLimited(), 10);
    EXPECT_TRUE(feature.GetRecGauss());
    EXPECT_EQ(feature.GetOutputFormat(), "binary");
    EXPECT_EQ(feature.GetTimeStats().GroupCount(), 3u);
    EXPECT_EQ(feature.GetTimeStats().GetGroup(1).mName, "descriptor");

    // Other detectors ignore the dense scales.
    PropertySet sparse = Snapshot({{"ds_scales", "1.6+3.2"}});
    EXPECT_TRUE(InterestPointFeature(sparse).GetScales().empty());

    // The fixed seed is the scrambled seed 1; without the flag the clock seeds it.
    PropertySet fixed = Snapshot({{"noRandomizeSeed", "1"}});
    EXPECT_EQ(InterestPointFeature(fixed).GetRandom().GetSeed(), 0x5DEECE66CULL);
    PropertySet clocked = Snapshot({});
    uint64_t expected = (static_cast<uint64_t>(std::time(nullptr)) ^ 0x5DEECE66DULL) & ((1ULL << 48) - 1);
    uint64_t seed = InterestPointFeature(clocked).GetRandom().GetSeed();
    EXPECT_LE(expected - seed, 1u);
}
