#include "core/feature/HarrisLaplaceDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "support/LogCapture.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Feature;

namespace
{

double LaplacianScale(int i) { return std::pow(1.189207115002721, i) * 0.75; }
double HarrisScale(int i) { return std::pow(1.4142135623730951, i) * 0.75; }

struct Points
{
    std::vector<MyPoint*> p;
    ~Points()
    {
        for (MyPoint* q : p)
            delete q;
    }
};

// Bright Gaussian blobs of deviation t on black, grey in all channels.
Array2dVec3UInt8* Blobs(long long w, long long h, const std::vector<std::pair<double, double>>& centres, double t)
{
    return TestSupport::MakeColourImage8(w, h, [=](long long x, long long y, int) {
        double v = 0.0;
        for (const auto& c : centres)
            v += std::exp(-((x - c.first) * (x - c.first) + (y - c.second) * (y - c.second)) / (2 * t * t));
        return static_cast<int>(std::lround(255.0 * std::min(v, 1.0)));
    });
}

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
    std::unique_ptr<Array2dReal64> grey(TestSupport::MakePlane(64, 64, 0, [](long long x, long long y) {
        return (x >= 32 && y >= 32) ? 1.0 : 0.0;
    }));
    for (int rec = 0; rec <= 1; ++rec)
        for (int level = 1; level <= 3; ++level)
        {
            HarrisLaplaceDetector det(5.0, 3.0, rec == 1, false);
            std::unique_ptr<Array2dReal64> c(det.GreyCornerness(grey.get(), HarrisScale(level), 0.06));
            long long bx = -1, by = -1;
            double best = -1e300;
            for (long long y = 0; y < 64; ++y)
                for (long long x = 0; x < 64; ++x)
                    if (*c->PixelPtr(x, y) > best)
                    {
                        best = *c->PixelPtr(x, y);
                        bx = x;
                        by = y;
                    }
            EXPECT_GT(best, 0.0);
            EXPECT_LE(std::fabs(bx - 31.5), 1.5) << "rec " << rec << " level " << level;
            EXPECT_LE(std::fabs(by - 31.5), 1.5) << "rec " << rec << " level " << level;
            // Along a straight edge far from the corner the response is negative.
            EXPECT_LT(*c->PixelPtr(32, 58), 0.0);
        }

    // The colour form finds the same corner.
    std::unique_ptr<Array2dVec3Real64> colour(TestSupport::MakeColourImage(
        64, 64, [](long long x, long long y, int) { return (x >= 32 && y >= 32) ? 1.0 : 0.0; }));
    HarrisLaplaceDetector det(5.0, 3.0, false, false);
    Points points;
    det.harrisCornerDetector(points.p, colour.get(), HarrisScale(2), 0.06, 1e-9);
    ASSERT_FALSE(points.p.empty());
    bool nearCorner = false;
    for (const MyPoint* p : points.p)
        nearCorner = nearCorner || (std::abs(p->x - 31.5) <= 1.5 && std::abs(p->y - 31.5) <= 1.5);
    EXPECT_TRUE(nearCorner);
}

TEST(HarrisDoMaxPoints, PlateausNegativesThresholdAndEdges)
{
    HarrisLaplaceDetector det(5.0, 3.0, false, false);
    // Two equal neighbours both count; a lower value within the window does not; an
    // edge maximum is compared with its mirror image and survives.
    std::unique_ptr<Array2dReal64> c(TestSupport::MakePlane(20, 16, 0, [](long long x, long long y) {
        if (y == 8 && (x == 8 || x == 9))
            return 5.0;
        if (y == 9 && x == 11)
            return 4.0;
        if (y == 0 && x == 19)
            return 2.0;
        return 0.0;
    }));
    Points found;
    det.DoMaxPoints(c.get(), std::back_inserter(found.p), 1e-9);
    ASSERT_EQ(found.p.size(), 3u);
    // Row by row, left to right.
    EXPECT_EQ(found.p[0]->x, 19);
    EXPECT_EQ(found.p[0]->y, 0);
    EXPECT_EQ(found.p[0]->cornerness, 2.0);
    EXPECT_EQ(found.p[1]->x, 8);
    EXPECT_EQ(found.p[2]->x, 9);
    EXPECT_EQ(found.p[2]->y, 8);
    EXPECT_EQ(found.p[2]->cornerness, 5.0);

    // The comparison with the threshold is strict.
    std::unique_ptr<Array2dReal64> c2(TestSupport::MakePlane(12, 12, 0, [](long long x, long long y) {
        return (x == 6 && y == 6) ? 2.0 : 0.0;
    }));
    Points atThreshold;
    det.DoMaxPoints(c2.get(), std::back_inserter(atThreshold.p), 2.0);
    EXPECT_TRUE(atThreshold.p.empty());

    // The dilation starts from 0, so negative responses are never maxima.
    std::unique_ptr<Array2dReal64> negative(TestSupport::MakePlane(12, 12, 0, [](long long x, long long y) {
        return -1.0 - 0.01 * ((x * 7 + y * 3) % 5);
    }));
    Points none;
    det.DoMaxPoints(negative.get(), std::back_inserter(none.p), 0.0);
    EXPECT_TRUE(none.p.empty());

    // A flat response is all maximum but not above a positive threshold.
    std::unique_ptr<Array2dReal64> flat(TestSupport::MakePlane(12, 12, 0, [](long long, long long) { return 0.0; }));
    Points flatPoints;
    det.DoMaxPoints(flat.get(), std::back_inserter(flatPoints.p), 1e-9);
    EXPECT_TRUE(flatPoints.p.empty());
}

TEST(HarrisLaplaceScaleSelection, WindowStrictPeaksAndOneRowPerPixelAndLevel)
{
    // The scale-normalised Laplacian of a Gaussian blob of deviation t peaks at sigma = t:
    // here at Laplacian level 10, which is Harris level 5.
    const double t = LaplacianScale(10);
    std::unique_ptr<Array2dReal64> grey(TestSupport::MakePlane(101, 101, 0, [t](long long x, long long y) {
        return std::exp(-((x - 50.0) * (x - 50.0) + (y - 50.0) * (y - 50.0)) / (2 * t * t));
    }));
    HarrisLaplaceDetector det(5.0, 3.0, false, false);

    // Harris level i sits on Laplacian level 2i: no scale mismatch.
    Points points;
    for (int level = 1; level <= 8; ++level)
        points.p.push_back(new MyPoint{HarrisScale(level), 10.0 + level, 50, 50});
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
    EXPECT_EQ(table.X()[0], 50.0);
    EXPECT_EQ(table.Y()[0], 50.0);
    EXPECT_EQ(table.Scale()[0], LaplacianScale(10));
    EXPECT_EQ(table.Orientation()[0], 0.0);
    EXPECT_EQ(table.Cornerness()[0], 14.0);

    // A point between levels still takes the nearest one, with a warning.
    Points off;
    off.p.push_back(new MyPoint{LaplacianScale(9) + 0.01, 3.0, 50, 50});
    PointDescriptorTable offTable(FeatureDefinition(""));
    {
        TestSupport::LogCapture log("Core.Feature.HarrisLaplaceDetector", log4cpp::Priority::WARN);
        det.laplacianScaleSelection(&offTable, grey.get(), off.p, 0.03);
        EXPECT_NE(log.Text().find("WARNING: scale mismatch"), std::string::npos);
    }
    ASSERT_EQ(offTable.Size(), 1);
    EXPECT_EQ(offTable.Scale()[0], LaplacianScale(10));

    // No response above the threshold: no rows.
    PointDescriptorTable high(FeatureDefinition(""));
    det.laplacianScaleSelection(&high, grey.get(), points.p, 1e6);
    EXPECT_EQ(high.Size(), 0);

    // The recursive path finds the same level.
    HarrisLaplaceDetector rec(5.0, 3.0, true, false);
    PointDescriptorTable recTable(FeatureDefinition(""));
    rec.laplacianScaleSelection(&recTable, grey.get(), points.p, 0.03);
    ASSERT_EQ(recTable.Size(), 1);
    EXPECT_EQ(recTable.Scale()[0], LaplacianScale(10));
}

TEST(HarrisLaplaceDetector, BorderRuleKeepsFourAndDropsWidthMinusFour)
{
    // Small blobs centred on x = 4 and on x = W - 4 (and mirrored pairs in y).
    const long long w = 48;
    const long long h = 40;
    std::unique_ptr<Array2dVec3UInt8> image(Blobs(w, h, {{4.0, 20.0}, {w - 4.0, 20.0}}, 1.3));
    for (int rec = 0; rec <= 1; ++rec)
    {
        HarrisLaplaceDetector det(5.0, 3.0, rec == 1, false);
        std::unique_ptr<PointDescriptorTable> table(det.HLDetector(image.get(), 1e-9, 0.06, 0.0));
        EXPECT_TRUE(HasRowAt(*table, 4.0, 20.0));
        EXPECT_FALSE(HasRowAt(*table, w - 4.0, 20.0));
        for (int i = 0; i < table->Size(); ++i)
        {
            EXPECT_GE(table->X()[i], 4.0);
            EXPECT_LT(table->X()[i], w - 4.0);
            EXPECT_GE(table->Y()[i], 4.0);
            EXPECT_LT(table->Y()[i], h - 4.0);
        }
    }
}

TEST(HarrisLaplaceDetector, SortedRowsAtLaplacianScalesAndEmptyCases)
{
    std::unique_ptr<Array2dVec3UInt8> image(
        Blobs(96, 80, {{20.0, 20.0}, {60.0, 30.0}, {40.0, 60.0}, {75.0, 65.0}}, 2.5));
    HarrisLaplaceDetector det(5.0, 3.0, false, false);
    std::unique_ptr<PointDescriptorTable> table(det.HLDetector(image.get(), 1e-9, 0.06, 0.03));
    ASSERT_GT(table->Size(), 3);
    for (int i = 0; i < table->Size(); ++i)
    {
        // The scale is one of the Laplacian levels 1 to 19.
        const double level = std::log(table->Scale()[i] / 0.75) / std::log(1.189207115002721);
        const int n = static_cast<int>(std::lround(level));
        EXPECT_EQ(table->Scale()[i], LaplacianScale(n));
        EXPECT_GE(n, 1);
        EXPECT_LE(n, 19);
        if (i > 0)
        {
            EXPECT_GE(table->Cornerness()[i - 1], table->Cornerness()[i]);
        }
        // Each (x, y, scale) once.
        for (int j = 0; j < i; ++j)
            EXPECT_FALSE(table->X()[i] == table->X()[j] && table->Y()[i] == table->Y()[j] &&
                         table->Scale()[i] == table->Scale()[j]);
    }

    std::unique_ptr<PointDescriptorTable> none(det.HLDetector(image.get(), 1e-9, 0.06, 1e6));
    EXPECT_EQ(none->Size(), 0);

    // Below 9 pixels on a side the border rule leaves nothing.
    std::unique_ptr<Array2dVec3UInt8> tiny(Blobs(8, 30, {{4.0, 15.0}}, 1.0));
    std::unique_ptr<PointDescriptorTable> empty(det.HLDetector(tiny.get(), 1e-9, 0.06, 0.0));
    EXPECT_EQ(empty->Size(), 0);

    // The colour detector sorts the same way and finds the blobs too.
    std::unique_ptr<PointDescriptorTable> colour(det.CHLDetector(image.get(), 1e-9, 0.06, 0.03));
    ASSERT_GT(colour->Size(), 0);
    for (int i = 1; i < colour->Size(); ++i)
        EXPECT_GE(colour->Cornerness()[i - 1], colour->Cornerness()[i]);
    std::unique_ptr<PointDescriptorTable> colourTiny(det.CHLDetector(tiny.get(), 1e-9, 0.06, 0.0));
    EXPECT_EQ(colourTiny->Size(), 0);
}
