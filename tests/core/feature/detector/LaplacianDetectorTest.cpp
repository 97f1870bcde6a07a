#include "core/feature/detector/LaplacianDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Feature;

namespace
{
double LevelScale(int i) { return std::pow(1.189207115002721, i) * 0.8; }
} // namespace

TEST(LaplacianDetector, FindsBlobAtItsScaleWithSignOfContrast)
{
    // sigma times the Laplacian of a blob of deviation t peaks at sigma = t / sqrt(3);
    // this blob belongs to level 10.
    const double t = LevelScale(10) * std::sqrt(3.0);
    for (bool bright : {false, true})
    {
        std::unique_ptr<Array2dVec3UInt8> image(
            TestSupport::MakeBlobs8(81, 81, {{40.0, 40.0}}, t, bright ? 20 : 230, bright ? 230 : 20));
        std::unique_ptr<PointDescriptorTable> table(LaplacianDetector(image.get(), true, 3.0));
        int row = -1;
        for (int i = 0; i < table->Size(); ++i)
        {
            if (table->X()[i] == 40 && table->Y()[i] == 40)
                row = i;
            EXPECT_TRUE(table->X()[i] >= 5.0 && table->X()[i] < 81 - 5.0) << table->X()[i];
            EXPECT_TRUE(table->Y()[i] >= 5.0 && table->Y()[i] < 81 - 5.0) << table->Y()[i];
            EXPECT_GE(std::fabs(table->Cornerness()[i]), 0.001);
            // Neither end of the stack gives points.
            EXPECT_TRUE(table->Scale()[i] > LevelScale(0) + 1e-9 && table->Scale()[i] < LevelScale(20) - 1e-9);
            EXPECT_EQ(table->Orientation()[i], 0.0);
            EXPECT_TRUE(i == 0 || table->Cornerness()[i - 1] >= table->Cornerness()[i]);
        }
        ASSERT_GE(row, 0);
        EXPECT_NEAR(std::log(table->Scale()[row] / 0.8) / std::log(1.189207115002721), 10.0, 1.01);
        // A bright blob is a minimum of the Laplacian, a dark one a maximum.
        EXPECT_EQ(table->Cornerness()[row] < 0.0, bright);
    }
}

TEST(LaplacianDetector, FlatOrTinyImagesGiveNoPoints)
{
    std::unique_ptr<Array2dVec3UInt8> flat(
        TestSupport::MakeColourImage8(40, 30, [](long long, long long, int) { return 128; }));
    EXPECT_EQ(std::unique_ptr<PointDescriptorTable>(LaplacianDetector(flat.get(), true, 3.0))->Size(), 0);
    // At most 10 pixels across: nothing, however strong the structure.
    std::unique_ptr<Array2dVec3UInt8> narrow(TestSupport::MakeColourImage8(
        10, 60, [](long long x, long long y, int) { return ((x + y) % 3) * 120; }));
    EXPECT_EQ(std::unique_ptr<PointDescriptorTable>(LaplacianDetector(narrow.get(), false, 3.0))->Size(), 0);
}
