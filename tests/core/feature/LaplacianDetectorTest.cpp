#include "core/feature/LaplacianDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Feature;

namespace
{

double LevelScale(int i) { return std::pow(1.189207115002721, i) * 0.8; }

// A grey Gaussian blob of standard deviation t at (cx, cy) on a level background,
// the same value in all three channels.
Array2dVec3UInt8* Blob(long long size, double cx, double cy, double t, int background, int peak)
{
    return TestSupport::MakeColourImage8(size, size, [=](long long x, long long y, int) {
        const double r2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        return static_cast<int>(std::lround(background + (peak - background) * std::exp(-r2 / (2 * t * t))));
    });
}

int RowAt(const PointDescriptorTable& table, double x, double y)
{
    for (int i = 0; i < table.Size(); ++i)
        if (table.X()[i] == x && table.Y()[i] == y)
            return i;
    return -1;
}

} // namespace

TEST(LaplacianDetector, FindsBlobAtItsScaleWithSignOfContrast)
{
    // sigma times the Laplacian of a blob of deviation t peaks at sigma = t / sqrt(3);
    // this blob belongs to level 10.
    const double t = LevelScale(10) * std::sqrt(3.0);
    for (int bright = 0; bright <= 1; ++bright)
    {
        std::unique_ptr<Array2dVec3UInt8> image(Blob(81, 40, 40, t, bright ? 20 : 230, bright ? 230 : 20));
        std::unique_ptr<PointDescriptorTable> table(LaplacianDetector(image.get(), true, 3.0));
        ASSERT_GT(table->Size(), 0);
        const int row = RowAt(*table, 40, 40);
        ASSERT_GE(row, 0);
        const double level = std::log(table->Scale()[row] / 0.8) / std::log(1.189207115002721);
        EXPECT_NEAR(level, 10.0, 1.01);
        // A bright blob is a minimum of the Laplacian, a dark one a maximum.
        if (bright)
            EXPECT_LT(table->Cornerness()[row], 0.0);
        else
            EXPECT_GT(table->Cornerness()[row], 0.0);

        for (int i = 0; i < table->Size(); ++i)
        {
            EXPECT_GE(table->X()[i], 5.0);
            EXPECT_LT(table->X()[i], 81 - 5.0);
            EXPECT_GE(table->Y()[i], 5.0);
            EXPECT_LT(table->Y()[i], 81 - 5.0);
            EXPECT_GE(std::fabs(table->Cornerness()[i]), 0.001);
            // Neither end of the stack gives points.
            EXPECT_GT(table->Scale()[i], LevelScale(0) + 1e-9);
            EXPECT_LT(table->Scale()[i], LevelScale(20) - 1e-9);
            EXPECT_EQ(table->Orientation()[i], 0.0);
            if (i > 0)
            {
                EXPECT_GE(table->Cornerness()[i - 1], table->Cornerness()[i]);
            }
        }
    }
}

TEST(LaplacianDetector, FlatOrTinyImagesGiveNoPoints)
{
    std::unique_ptr<Array2dVec3UInt8> flat(TestSupport::MakeColourImage8(40, 30, [](long long, long long, int) { return 128; }));
    std::unique_ptr<PointDescriptorTable> none(LaplacianDetector(flat.get(), true, 3.0));
    EXPECT_EQ(none->Size(), 0);

    // At most 10 pixels across: nothing, however strong the structure.
    std::unique_ptr<Array2dVec3UInt8> narrow(TestSupport::MakeColourImage8(
        10, 60, [](long long x, long long y, int) { return ((x + y) % 3) * 120; }));
    std::unique_ptr<PointDescriptorTable> empty(LaplacianDetector(narrow.get(), false, 3.0));
    EXPECT_EQ(empty->Size(), 0);
}
