#include "core/feature/InterestPointFeature.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <algorithm>
#include <memory>
#include <numeric>

#include "basis/CmdOptions.h"
#include "core/array/ArrayFactories.h"
#include "core/feature/PointDescriptorTable.h"
#include "persistency/RepositoryInFileSystem.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::Core::Feature::InterestPointFeature;
using Tavlin::Core::Feature::PointDescriptorTable;
using Tavlin::Util::PropertySet;

namespace
{

typedef std::vector<std::pair<std::string, std::string>> Overrides;

// The snapshot the driver takes: every registered option with its default, then the
// given overrides.
PropertySet Snapshot(const Overrides& overrides)
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

// A feature with the snapshot it reads from.
struct Configured
{
    explicit Configured(const Overrides& overrides) : set(Snapshot(overrides)), feature(set) {}
    PropertySet set;
    InterestPointFeature feature;
};

// The bounded draw of the 48-bit generator, from glibc's nrand48 as an oracle.
int OracleDraw(unsigned short state[3], int bound)
{
    if ((bound & (bound - 1)) == 0)
        return static_cast<int>((static_cast<int64_t>(bound) * nrand48(state)) >> 31);
    long draw, value;
    do
    {
        draw = nrand48(state);
        value = draw % bound;
    } while (draw - value + (bound - 1) > 0x7fffffffL);
    return static_cast<int>(value);
}

} // namespace

TEST(InterestPointFeatureName, ComposesDetectorDescriptorAndParameters)
{
    const std::pair<Overrides, const char*> names[] = {
        {{{"descriptor", "sift"}}, "harrislaplace-sift"},
        {{}, "harrislaplace-"},
        {{{"harrisThreshold", "1e-09"}, {"descriptor", "sift"}}, "harrislaplace-sift_ht_1e-09"},
        {{{"detector", "colorharrislaplace"}, {"harrisThreshold", "0.1"}}, "colorharrislaplace-"},
        {{{"descriptor", "surf"}, {"harrisThreshold", "2e-9"}}, "harrislaplace-surf_sc_3-2-4_ht_2e-9"},
        {{{"detector", "densesampling"}}, "densesampling-_ds_6-1.2"},
        {{{"detector", "dense"}, {"ds_spacing", "10"}, {"ds_scales", "1.6+3.2"}}, "dense-_ds_10-1.6-3.2"},
        {{{"detector", "dense"}, {"ds_spacing", "0"}}, "dense-_ds_0-0"},
        {{{"detector", "densesampling"}, {"descriptor", "densesift"}}, "densesampling-densesift_ds_6-1.2"},
        {{{"detector", "none"}, {"descriptor", "dift"}}, "none-dift_ds_"},
        {{{"detector", "none"}, {"descriptor", "rgbdift"}, {"ds_scales", "6-4+8-4"}}, "none-rgbdift_ds_6-4-8-4"},
        {{{"descriptor", "opponentsift"}, {"descriptorOpponentWeight", "0.5"}}, "harrislaplace-opponentsift_ow_0.5"},
        // Underscores in the prefix make parameters; the lone tail is dropped.
        {{{"featurePrefix", "run_v_2_"}, {"descriptor", "sift"}}, "run_v_2"},
        {{{"featurePrefix", "my"}, {"descriptor", "sift"}}, "myharrislaplace-sift"},
    };
    for (const auto& n : names)
        EXPECT_EQ(Configured(n.first).feature.GetFeatureDefinition().AsString(), n.second);
}

TEST(InterestPointFeatureConfig, RegistersItsOptionsAndReadsThemFromTheSnapshot)
{
    Tavlin::CmdOptions& options = Tavlin::CmdOptions::GetInstance();
    options.Reset();
    const size_t before = options.GetOptionCount();
    InterestPointFeature::AddCmdOptions();
    std::string rows;
    for (size_t i = before; i < options.GetOptionCount(); ++i)
        rows += options.GetOptionName(i) + "=" + options.GetString(options.GetOptionName(i), "?") + " ";
    EXPECT_EQ(rows, "borderWidth=0 recGauss=0 loadRegions= saveRegions= drawRegions= descriptor= output= "
                    "outputFormat= "
                    "descriptorBinCount=15 descriptorPreSmoothing=0 descriptorOpponentWeight= clusterInput=0 "
                    "keepLimited=-1 noRandomizeSeed=0 codebook= codebookMode=hard codebookSigma= codebookName= "
                    "pointSelector= extraBoxes= detector=harrislaplace harrisThreshold=1e-9 harrisK=0.06 "
                    "laplaceThreshold=0.03 ds_spacing=6 ds_scales= featurePrefix= surf-haar-size=3 "
                    "surf-subregion-size=2 surf-spaciality=4 ");

    Configured dense({{"detector", "dense"}, {"ds_scales", "1.6+3.2"}, {"borderWidth", "5"}, {"keepLimited", "10"},
                      {"recGauss", "1"}, {"outputFormat", "binary"}});
    InterestPointFeature& feature = dense.feature;
    EXPECT_EQ(feature.GetScales(), (std::vector<double>{1.6, 3.2}));
    EXPECT_TRUE(feature.GetBorderWidth() == 5 && feature.GetKeepLimited() == 10 && feature.GetRecGauss());
    EXPECT_EQ(feature.GetOutputFormat(), "binary");
    ASSERT_EQ(feature.GetTimeStats().GroupCount(), 3u);
    EXPECT_EQ(feature.GetTimeStats().GetGroup(0).mName + feature.GetTimeStats().GetGroup(1).mName +
                  feature.GetTimeStats().GetGroup(2).mName,
              "detectordescriptorprojection");
    // Other detectors ignore the dense scales.
    EXPECT_TRUE(Configured(Overrides{{"ds_scales", "1.6+3.2"}}).feature.GetScales().empty());

    // The fixed seed is the scrambled seed 1; without the flag the clock seeds it.
    EXPECT_EQ(Configured(Overrides{{"noRandomizeSeed", "1"}}).feature.GetRandom().GetSeed(), 0x5DEECE66CULL);
    const uint64_t expected = (static_cast<uint64_t>(std::time(nullptr)) ^ 0x5DEECE66DULL) & ((1ULL << 48) - 1);
    EXPECT_LE(expected - Configured(Overrides{}).feature.GetRandom().GetSeed(), 1u);
}

TEST(InterestPointFeatureKeepLimited, KeepsTheRowsAnIndependentShufflePicks)
{
    using Tavlin::Persistency::RepositoryGetFile;
    TestSupport::TempDir dir;
    Configured limited({{"detector", "densesampling"}, {"descriptor", "none"}, {"keepLimited", "7"},
                        {"noRandomizeSeed", "1"}});
    Tavlin::Core::Array::Array2dVec3UInt8 image(60, 40, 0, 0);
    std::unique_ptr<PointDescriptorTable> all(limited.feature.ApplyDetector(&image, "densesampling"));
    const int n = all->Size();
    ASSERT_GT(n, 20);

    // Two images from one running generator, each against a replay of the shuffle with
    // glibc's generator from the same seed.
    unsigned short state[3] = {0xE66C, 0xDEEC, 0x5};
    for (int run = 0; run < 2; ++run)
    {
        const std::string name = dir.File("kept" + std::to_string(run));
        ASSERT_TRUE(limited.feature.FindInterestPoints(&image, Tavlin::Quid(0), RepositoryGetFile(name, true, false),
                                                       false, {}, {}));
        std::vector<int> order(n);
        std::iota(order.begin(), order.end(), 0);
        for (int i = 1; i < n; ++i)
            std::swap(order[i], order[OracleDraw(state, i + 1)]);
        std::sort(order.begin(), order.begin() + 7);

        std::unique_ptr<Tavlin::Util::IOBuffer> buffer(RepositoryGetFile(name, false, false).GetReadBuffer());
        std::unique_ptr<PointDescriptorTable> kept(PointDescriptorTable::ImportFromBuffer(
            Tavlin::Core::Feature::FeatureDefinition(""), buffer.get(), 0));
        ASSERT_TRUE(kept);
        ASSERT_EQ(kept->Size(), 7);
        for (int i = 0; i < 7; ++i)
            EXPECT_TRUE(kept->X()[i] == all->X()[order[i]] && kept->Y()[i] == all->Y()[order[i]]) << run << i;
    }
}

TEST(InterestPointFeatureRegions, SiftOnLoadedRegionsOfTinyImages)
{
    // Found by fuzzing (under the undefined-behaviour sanitizer): SIFT on tiny images at
    // points loaded from a regions file. In the first, rows outside the read band had no
    // bins; in the second, a level had no point at orientation 0, hence no bins at all,
    // and no footprint inside the image. Each input's first five bytes chose descriptor
    // and image; the rest is the regions file.
    using Tavlin::Persistency::RepositoryGetFile;
    struct Finding
    {
        const char* name;
        const char* descriptor;
        int width;
        int height;
        const char* borderWidth;
    };
    for (const Finding& f : {Finding{"sift-null-bins-offset", "sift", 17, 17, nullptr},
                             Finding{"csift-no-points-at-zero", "csift", 13, 6, "0"}})
    {
        const std::string found = TestSupport::FuzzFinding("Pipeline", f.name);
        ASSERT_GT(found.size(), 5u) << f.name;
        TestSupport::TempDir dir;
        TestSupport::WriteTextFile(dir.File("regions"), found.substr(5));
        Overrides options = {{"descriptor", f.descriptor}, {"noRandomizeSeed", "1"}};
        if (f.borderWidth)
            options.emplace_back("borderWidth", f.borderWidth);
        Configured sift(options);
        std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> image(
            Tavlin::Core::Array::ArrayCreate<Tavlin::Core::Array::Array2dVec3UInt8>(f.width, f.height, 0, 0));
        unsigned char* p = reinterpret_cast<unsigned char*>(image->mData);
        for (int i = 0; i < f.width * f.height * 3; ++i)
            p[i] = static_cast<unsigned char>(i * 37);
        EXPECT_TRUE(sift.feature.FindInterestPoints(image.get(), Tavlin::Quid(0),
                                                    RepositoryGetFile(dir.File("out"), true, true), false,
                                                    RepositoryGetFile(dir.File("regions"), false, true),
                                                    Tavlin::Persistency::File()))
            << f.name;
        EXPECT_TRUE(TestSupport::PathExists(dir.File("out"))) << f.name;
    }
}
