#include "core/feature/detector/HarrisLaplaceDetector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "support/LogCapture.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Feature;
using TestSupport::MakeBlobs8;
using TestSupport::MakePlane;
using TestSupport::Owned;

namespace
{

double LaplacianScale(int i) { return std::pow(1.189207115002721, i) * 0.75; }
double HarrisScale(int i) { return std::pow(1.4142135623730951, i) * 0.75; }

typedef std::unique_ptr<PointDescriptorTable> TablePtr;

bool HasRowAt(const PointDescriptorTable& table, double x, double y)
{
    for (int i = 0; i < table.Size(); ++i)
        if (table.X()[i] == x && table.Y()[i] == y)
            return true;
    return false;
}

} // namespace

TEST(HarrisCornerness, PeaksAtTheCornerOnBothFilterPaths)
{
    // A bright quadrant whose corner lies between pixels 31 and 32.
    auto quadrant = [](long long x, long long y, int = 0) { return (x >= 32 && y >= 32) ? 1.0 : 0.0; };
    std::unique_ptr<Array2dReal64> grey(MakePlane(64, 64, 0, quadrant));
    for (bool rec : {false, true})
        for (int level = 1; level <= 3; ++level)
        {
            HarrisLaplaceDetector det(5.0, 3.0, rec, false);
            std::unique_ptr<Array2dReal64> c(det.GreyCornerness(grey.get(), HarrisScale(level), 0.06));
            long long best = 0;
            for (long long i = 1; i < 64 * 64; ++i)
                if (*c->PixelPtr(i % 64, i / 64) > *c->PixelPtr(best % 64, best / 64))
                    best = i;
            EXPECT_GT(*c->PixelPtr(best % 64, best / 64), 0.0);
            EXPECT_LE(std::fabs(best % 64 - 31.5), 1.5) << "rec " << rec << " level " << level;
            EXPECT_LE(std::fabs(best / 64 - 31.5), 1.5) << "rec " << rec << " level " << level;
            // Along a straight edge far from the corner the response is negative.
            EXPECT_LT(*c->PixelPtr(32, 58), 0.0);
        }

    // The colour form finds the same corner.
    std::unique_ptr<Array2dVec3Real64> colour(TestSupport::MakeColourImage(64, 64, quadrant));
    HarrisLaplaceDetector det(5.0, 3.0, false, false);
    Owned<MyPoint> points;
    det.harrisCornerDetector(points.p, colour.get(), HarrisScale(2), 0.06, 1e-9);
    EXPECT_TRUE(std::any_of(points.p.begin(), points.p.end(), [](const MyPoint* p) {
        return std::abs(p->x - 31.5) <= 1.5 && std::abs(p->y - 31.5) <= 1.5;
    }));
}

TEST(HarrisDoMaxPoints, PlateausNegativesThresholdAndEdges)
{
    HarrisLaplaceDetector det(5.0, 3.0, false, false);
    typedef std::vector<std::array<double, 3>> Maxima;
    auto maxima = [&](long long w, long long h, double threshold, std::function<double(long long, long long)> f) {
        std::unique_ptr<Array2dReal64> c(MakePlane(w, h, 0, f));
        Owned<MyPoint> found;
        det.DoMaxPoints(c.get(), std::back_inserter(found.p), threshold);
        Maxima m;
        for (const MyPoint* p : found.p)
            m.push_back({double(p->x), double(p->y), p->cornerness});
        return m;
    };
    // Two equal neighbours both count; a lower value within the window does not; an
    // edge maximum is compared with its mirror image and survives. Row by row.
    EXPECT_EQ(maxima(20, 16, 1e-9,
                     [](long long x, long long y) {
                         return y == 8 && (x == 8 || x == 9) ? 5.0 : y == 9 && x == 11 ? 4.0 : y == 0 && x == 19 ? 2.0 : 0.0;
                     }),
              (Maxima{{19, 0, 2.0}, {8, 8, 5.0}, {9, 8, 5.0}}));
    // Rows are taken two at a time: an odd height leaves the last row alone; a maximum on
    // each of the last three rows, four columns apart, is found in each.
    EXPECT_EQ(maxima(9, 15, 1e-9, [](long long x, long long y) { return y >= 12 && x == 4 * (y - 12) ? 1.0 + y : 0.0; }),
              (Maxima{{0, 12, 13.0}, {4, 13, 14.0}, {8, 14, 15.0}}));
    // The comparison with the threshold is strict.
    EXPECT_EQ(maxima(12, 12, 2.0, [](long long x, long long y) { return (x == 6 && y == 6) ? 2.0 : 0.0; }), Maxima{});
    // The dilation starts from 0, so negative responses are never maxima.
    EXPECT_EQ(maxima(12, 12, 0.0, [](long long x, long long y) { return -1.0 - 0.01 * ((x * 7 + y * 3) % 5); }),
              Maxima{});
    // A flat response is all maximum but not above a positive threshold.
    EXPECT_EQ(maxima(12, 12, 1e-9, [](long long, long long) { return 0.0; }), Maxima{});
}

TEST(HarrisLaplaceScaleSelection, WindowStrictPeaksAndOneRowPerPixelAndLevel)
{
    // The scale-normalised Laplacian of a Gaussian blob of deviation t peaks at sigma = t:
    // here at Laplacian level 10, which is Harris level 5.
    const double t = LaplacianScale(10);
    std::unique_ptr<Array2dReal64> grey(MakePlane(101, 101, 0, [t](long long x, long long y) {
        return std::exp(-((x - 50.0) * (x - 50.0) + (y - 50.0) * (y - 50.0)) / (2 * t * t));
    }));
    // Harris level i sits on Laplacian level 2i: no scale mismatch.
    Owned<MyPoint> points;
    for (int level = 1; level <= 8; ++level)
        points.p.push_back(new MyPoint{HarrisScale(level), 10.0 + level, 50, 50});
    Owned<MyPoint> off;
    off.p.push_back(new MyPoint{LaplacianScale(9) + 0.01, 3.0, 50, 50});
    for (bool rec : {false, true})
    {
        HarrisLaplaceDetector det(5.0, 3.0, rec, false);
        PointDescriptorTable table(FeatureDefinition(""));
        {
            TestSupport::LogCapture log("Core.Feature.HarrisLaplaceDetector");
            det.laplacianScaleSelection(&table, grey.get(), points.p, 0.03);
            EXPECT_EQ(log.Text().find("scale mismatch"), std::string::npos);
        }
        // Harris levels 4, 5 and 6 see level 10 inside their window (levels 4..12, 6..14,
        // 8..16); levels 3 and 7 have it at a window end, where no peak can be. The three
        // make one row, the first in list order.
        ASSERT_EQ(table.Size(), 1);
        EXPECT_EQ(std::vector<double>({table.X()[0], table.Y()[0], table.Scale()[0], table.Orientation()[0],
                                       table.Cornerness()[0]}),
                  std::vector<double>({50.0, 50.0, LaplacianScale(10), 0.0, 14.0}));

        // A point between levels still takes the nearest one, with a warning.
        PointDescriptorTable offTable(FeatureDefinition(""));
        {
            TestSupport::LogCapture log("Core.Feature.HarrisLaplaceDetector", log4cpp::Priority::WARN);
            det.laplacianScaleSelection(&offTable, grey.get(), off.p, 0.03);
            EXPECT_NE(log.Text().find("WARNING: scale mismatch"), std::string::npos);
        }
        ASSERT_EQ(offTable.Size(), 1);
        EXPECT_EQ(offTable.Scale()[0], LaplacianScale(10));
    }
}

TEST(HarrisLaplaceDetector, SortedRowsAtLaplacianScalesBorderRuleAndEmptyCases)
{
    // Blobs on x = 4 (kept) and x = W - 4 (dropped) besides those inside.
    std::unique_ptr<Array2dVec3UInt8> image(
        MakeBlobs8(96, 80, {{20.0, 20.0}, {60.0, 30.0}, {40.0, 60.0}, {75.0, 65.0}, {4.0, 45.0}, {92.0, 45.0}}, 1.3));
    // Below 9 pixels on a side the border rule leaves nothing.
    std::unique_ptr<Array2dVec3UInt8> tiny(MakeBlobs8(8, 30, {{4.0, 15.0}}, 1.0));
    HarrisLaplaceDetector det(5.0, 3.0, false, false);
    for (int mode = 0; mode < 3; ++mode) // grey, grey on the recursive path, colour
    {
        const bool colour = mode == 2;
        det.mRecGauss = mode == 1;
        auto detect = [&](Array2dVec3UInt8* in, double laplaceThreshold) {
            return TablePtr(colour ? det.CHLDetector(in, 1e-9, 0.06, laplaceThreshold)
                                   : det.HLDetector(in, 1e-9, 0.06, laplaceThreshold));
        };
        TablePtr table = detect(image.get(), 0.03);
        ASSERT_GT(table->Size(), colour ? 0 : 3);
        EXPECT_TRUE(colour || HasRowAt(*table, 4.0, 45.0)) << mode;
        EXPECT_FALSE(HasRowAt(*table, 92.0, 45.0)) << mode;
        // Rows inside the border rule, cornerness descending, each (x, y, scale) once, the
        // scale one of the Laplacian levels 1 to 19.
        const double* x = table->X();
        const double* y = table->Y();
        const double* scale = table->Scale();
        for (int i = 0; i < table->Size(); ++i)
        {
            EXPECT_TRUE(x[i] >= 4.0 && x[i] < 92.0 && y[i] >= 4.0 && y[i] < 76.0) << x[i] << " " << y[i];
            EXPECT_TRUE(i == 0 || table->Cornerness()[i - 1] >= table->Cornerness()[i]) << i;
            for (int j = 0; j < i; ++j)
                EXPECT_FALSE(x[i] == x[j] && y[i] == y[j] && scale[i] == scale[j]);
            const long n = std::lround(std::log(scale[i] / 0.75) / std::log(1.189207115002721));
            EXPECT_EQ(scale[i], LaplacianScale(n));
            EXPECT_TRUE(n >= 1 && n <= 19) << n;
        }
        EXPECT_EQ(detect(image.get(), 1e6)->Size(), 0);
        EXPECT_EQ(detect(tiny.get(), 0.0)->Size(), 0);
    }
    det.mRecGauss = false;
    // The colour detector reports its stages and each point it drops at the border.
    TestSupport::LogCapture log("Core.Feature.HarrisLaplaceDetector");
    const int rows = TablePtr(det.CHLDetector(image.get(), 1e-9, 0.06, 0.03))->Size();
    TablePtr(det.CHLDetector(tiny.get(), 1e-9, 0.06, 0.03));
    for (const std::string& line :
         {std::string("\nHarris corner detector found "), std::string("\n[Timing2] HarrisCornerDetector 0h0m"),
          "\nLaplacian scale selection left " + std::to_string(rows) + " points\n",
          std::string("\n[Timing2] LaplacianScaleSelection0h0m"), std::string("\n   4 15 BORDER CLOSENESS REJECT\n")})
        EXPECT_NE(log.Text().find(line), std::string::npos) << line;
}
