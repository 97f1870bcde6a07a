#include "core/feature/descriptor/FISTDescriptor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/array/RecGauss.h"
#include "support/LogCapture.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::PointDescriptorTable;
using TestSupport::MakePlane;

namespace
{

typedef Tavlin::Core::Feature::FISTDescriptor<4, 8> Fist;
typedef std::unique_ptr<Array2dReal64> PlanePtr;
typedef std::vector<std::pair<int, double>> Entries;
const double kTurn = 6.283185308;
const double kQuarter = std::acos(-1.0) / 2;

int Element(int row, int column, int orientation) { return (row * 4 + column) * 8 + orientation; }

PlanePtr Plane(long long w, long long h, std::function<double(long long, long long)> f)
{
    return PlanePtr(MakePlane(w, h, 0, f));
}

// Grid rows r, r + 1, columns c (weight w0) and c + 1 (weight w1), bins o and o + 1
// (wrapping); cells outside the grid are left out.
Entries Block(int r, int c, int o, double w0, double w1)
{
    Entries e;
    for (int row = r; row <= r + 1; ++row)
        for (int col = c; col <= c + 1; ++col)
            for (int bin = o; bin <= o + 1; ++bin)
                if (row >= 0 && row < 4 && col >= 0 && col < 4)
                    e.push_back({Element(row, col, bin % 8), col == c ? w0 : w1});
    return e;
}

typedef std::pair<PlanePtr, PlanePtr> Planes; // magnitude, angle

// Magnitude zero everywhere except `value` at (x, 20), whose angle is `angle`.
Planes OnePixel(long long x, double value, double angle)
{
    return {Plane(41, 41, [=](long long px, long long py) { return px == x && py == 20 ? value : 0.0; }),
            Plane(41, 41, [=](long long px, long long py) { return px == x && py == 20 ? angle : 0.0; })};
}

std::vector<double> Sample(Fist& fist, const Planes& p, double x, double orientation, double y = 20,
                           double scale = 1.0)
{
    std::vector<double> row(128, 0.0);
    fist.InternalSample(row.data(), p.first.get(), p.second.get(), scale, y, x, orientation);
    return row;
}

void ExpectOnly(const std::vector<double>& row, const Entries& expected)
{
    std::vector<double> want(128, 0.0);
    for (const auto& e : expected)
        want[e.first] += e.second;
    for (int k = 0; k < 128; ++k)
        EXPECT_NEAR(row[k], want[k], 1e-12) << "element " << k;
}

std::unique_ptr<PointDescriptorTable> Points(const std::vector<std::vector<double>>& points)
{
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition(""));
    for (const auto& p : points)
        table->AddPoint(p[0], p[1], p[2], p.size() > 3 ? p[3] : 0.0, 0.0);
    return table;
}

} // namespace

TEST(FISTDescriptorSample, SpreadsOnePixelOverNeighbouringBins)
{
    Fist fist;
    // Centre pixel: spatial bins 1.5, 1.5 and orientation bin 0.5, weight 1 / 8 each.
    Planes centre = OnePixel(20, 1.0, kTurn / 16);
    ExpectOnly(Sample(fist, centre, 20, 0.0), Block(1, 1, 0, 0.125, 0.125));
    // One cell (3 pixels at scale 1) to the right: column bin 2.5, Gaussian exp(-1/8).
    Planes right = OnePixel(23, 2.0, kTurn / 16);
    const double w = 2.0 * std::exp(-1.0 / 8.0) * 0.125;
    ExpectOnly(Sample(fist, right, 20, 0.0), Block(1, 2, 0, w, w));
    // Orientation bin 7.5 wraps its upper half into bin 0.
    ExpectOnly(Sample(fist, OnePixel(20, 1.0, 15 * kTurn / 16), 20, 0.0), Block(1, 1, 7, 0.125, 0.125));
    // Two cells to the left: column bin -0.5, so only column 0 receives its half.
    const double wl = std::exp(-4.0 / 8.0) * 0.125;
    ExpectOnly(Sample(fist, OnePixel(14, 1.0, kTurn / 16), 20, 0.0), Block(1, -1, 0, 0.0, wl));
    // Beyond column bin -1 nothing lands.
    ExpectOnly(Sample(fist, OnePixel(12, 1.0, kTurn / 16), 20, 0.0), {});
    // At x = 19.75 the centre pixel lies 0.25 / 3 of a cell right of the point.
    const double u = 0.25 / 3.0;
    const double fc = u + 0.5;
    const double ws = std::exp(-(u * u) / 8.0) * 0.25;
    ExpectOnly(Sample(fist, centre, 19.75, 0.0), Block(1, 1, 0, ws * (1 - fc), ws * fc));
    // At a quarter turn a pixel to the right lies one grid row down, and its angle is
    // measured from the point's orientation.
    ExpectOnly(Sample(fist, OnePixel(23, 2.0, kQuarter + kTurn / 16), 20, kQuarter), Block(2, 1, 0, w, w));
    // Without the window the pixel weighs its magnitude only.
    fist.mNoGaussianWeight = true;
    ExpectOnly(Sample(fist, right, 20, 0.0), Block(1, 2, 0, 0.25, 0.25));

    // A point at an image corner samples only pixels inside: at (0, 0) grid row 0 and
    // column 0 stay empty, at (29, 29) row 3 and column 3; all else gets bin 0.
    Planes flat{Plane(30, 30, [](long long, long long) { return 1.0; }),
                Plane(30, 30, [](long long, long long) { return 0.0; })};
    for (int corner : {0, 29})
    {
        std::vector<double> row = Sample(fist, flat, corner, 0.0, corner, 2.0);
        const int outside = corner == 0 ? 0 : 3;
        for (int k = 0; k < 128; ++k)
            EXPECT_EQ(row[k] > 0.0, k % 8 == 0 && k / 32 != outside && k / 8 % 4 != outside) << corner << " " << k;
    }
}

TEST(FISTDescriptorNormalise, ClipsRenormalisesAndQuantises)
{
    const struct
    {
        int norm;
        double scale;
        std::vector<double> in;
        std::vector<double> out;
    } cases[] = {
        {-1, 512, {0.0, 5.0}, {0.0, 512.0}},        // one dominant bin: clipped to 0.2, back to 1
        {-1, 512, {3.0, 3.0}, {362.0, 362.0}},      // 1/sqrt(2) each, clipped, renormalised
        {-1, 512, {0.005, 0.005}, {2.0, 2.0}},      // sum of squares at most 0.0001 keeps its size
        {-1, 512, {}, {0.0, 0.0}},                  // zero stays zero
        {1, 512, {3.0, 1.0}, {256.0, 256.0}},       // L1: 0.75, 0.25, both clipped, 0.5 each
        {3, 512, {1.0, 1.0}, {406.0, 406.0}},       // 2^(-1/3) x 512 = 406.37
        {2, 512, {3.0, 4.0}, {362.0, 362.0}},       // the same as L2
        {0, 512, {0.1, 0.3}, {51.0, 102.0}},        // no norm; 0.3 clipped, no renormalisation
        {-1, 100, {0.0, 0.0, 9.0}, {0.0, 0.0, 100.0}},
    };
    for (const auto& c : cases)
    {
        Fist fist;
        fist.mCustomNorm = c.norm;
        fist.mOutputScale = c.scale;
        std::vector<double> row = c.in;
        row.resize(128, 0.0);
        fist.Normalise(row.data());
        std::vector<double> want = c.out;
        want.resize(128, 0.0);
        EXPECT_EQ(row, want) << "norm " << c.norm;
    }
}

TEST(FISTDescriptorLadder, AssignsScalesToLevelsAndFiltersAtTheLevelScale)
{
    EXPECT_EQ(Fist::sScaleLadder[0], 1.00794);
    EXPECT_EQ(Fist::sScaleLadder[17], 51.2);
    EXPECT_EQ(Fist::sScaleLadder[18], -1.0);
    for (int i = 0; i + 1 < 18; ++i)
        EXPECT_NEAR(Fist::sScaleLadder[i + 1] / Fist::sScaleLadder[i], std::cbrt(2.0), 2e-5);
    const std::pair<double, int> levels[] = {{0.3, 0},      {1.0, 0},     {1.2699, 0}, {1.26992, 1}, {1.6, 2},
                                             {40.6375, 16}, {51.19, 16}, {51.2, -1},  {400.0, -1}};
    for (const auto& l : levels)
        EXPECT_EQ(Fist::LevelOfScale(l.first), l.second) << l.first;

    // Each row equals a point sampled on gradients made here at its level's scale. Small
    // values, no norm and a large output scale show the raw histogram.
    PlanePtr channel = Plane(48, 48, [](long long x, long long y) {
        return 1e-3 * (std::sin(0.7 * x) + std::cos(0.45 * y + 0.2 * x));
    });
    auto table = Points({{20, 22, 1.0}, {25, 24, 1.26992}, {24, 24, 30.0}, {24, 24, 51.2}});
    Fist fist;
    fist.mCustomNorm = 0;
    fist.mOutputScale = 1e6;
    std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(channel.get(), table.get()));
    ASSERT_EQ(result->mWidth, 128);
    ASSERT_EQ(result->mHeight, 4);
    auto reference = [&](double sigma, int k) {
        Array2dReal64* dx = nullptr;
        Array2dReal64* dy = nullptr;
        Tavlin::Core::Array::RecGauss(dx, channel.get(), sigma, sigma, 1, 0, 3);
        Tavlin::Core::Array::RecGauss(dy, channel.get(), sigma, sigma, 0, 1, 3);
        Planes g{Plane(48, 48, [&](long long x, long long y) { return std::hypot(*dx->PixelPtr(x, y), *dy->PixelPtr(x, y)); }),
                 Plane(48, 48, [&](long long x, long long y) { return -std::atan2(*dy->PixelPtr(x, y), *dx->PixelPtr(x, y)); })};
        delete dx;
        delete dy;
        std::vector<double> row = Sample(fist, g, table->X()[k], 0.0, table->Y()[k], table->Scale()[k]);
        for (double& v : row)
            v = static_cast<int32_t>(v * 1e6);
        return row;
    };
    auto row = [&](int k) { return std::vector<double>(result->mData + k * 128, result->mData + (k + 1) * 128); };
    EXPECT_EQ(row(0), reference(1.00794, 0));
    EXPECT_NE(row(0), reference(1.26992, 0));
    EXPECT_EQ(row(1), reference(1.26992, 1));
    EXPECT_EQ(row(2), reference(25.6, 2));
    // Scales from 51.2 on get no histogram.
    EXPECT_EQ(row(3), std::vector<double>(128, 0.0));
}

TEST(FISTDescriptorImage, OrientedEdgesLandInTheirOrientationBinsAndFlatGivesZero)
{
    Fist fist;
    auto step = [](bool vertical, double low, double high) {
        return Plane(64, 64, [=](long long x, long long y) { return (vertical ? x : y) < 32 ? low : high; });
    };
    // Dark left: gradient along +x, bin 0. Bright below (y grows downwards): angle
    // -pi/2, bin 6; bright above: bin 2. Flat: nothing. The second point turns the grid
    // a quarter: the vertical edge then reads as bin 6.
    PlanePtr planes[] = {step(true, 10, 200), step(false, 10, 200), step(false, 200, 10), step(true, 93, 93)};
    const int bins[4][3] = {{0, 6, 0}, {6, 4, 6}, {2, 0, 2}, {-1, -1, -1}};
    auto table = Points({{32, 32, 2.0}, {32, 32, 2.0, kQuarter}, {31.6, 30.2, 3.5}});
    for (int c = 0; c < 4; ++c)
    {
        std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(planes[c].get(), table.get()));
        for (int k = 0; k < 3; ++k)
        {
            std::vector<double> mass(8, 0.0);
            for (int v = 0; v < 128; ++v)
                mass[v % 8] += result->mData[k * 128 + v];
            // The recursive derivative rings a little, so the opposite bin may hold a trace.
            const int bin = bins[c][k];
            const double dominant = bin < 0 ? 0.0 : mass[bin];
            EXPECT_GE(dominant, bin < 0 ? 0.0 : 512.0);
            for (int o = 0; o < 8; ++o)
                EXPECT_TRUE(o == bin || mass[o] <= 0.02 * dominant) << c << " point " << k << " bin " << o;
        }
    }
    std::unique_ptr<Array2dReal64> none(fist.DoCalculateFISTDescriptors(planes[3].get(), Points({}).get()));
    EXPECT_EQ(none->mWidth, 128);
    EXPECT_EQ(none->mHeight, 0);
}

TEST(FISTDescriptorOrientation, RefusesAbsurdOrientationsAndKeepsOrdinaryOnes)
{
    // A ramp along x: every point sees gradients, whatever its orientation.
    PlanePtr channel = Plane(60, 60, [](long long x, long long y) { return 2.0 * x + 0.5 * y; });
    const double turns = 3000 * kTurn;
    auto table = Points({{30, 30, 2.0, 3.75e255},
                         {30, 30, 2.0, 0.5},
                         {30, 30, 2.0, std::nan("")},
                         {30, 30, 2.0, -HUGE_VAL},
                         {30, 30, 2.0, 0.5 + turns},
                         {30, 30, 2.0, -1e7}});
    Fist fist;
    TestSupport::LogCapture log("Core.Feature.FISTDescriptor", log4cpp::Priority::WARN);
    std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(channel.get(), table.get()));
    auto rowSum = [&](int i) {
        double s = 0.0;
        for (int k = 0; k < 128; ++k)
            s += result->PixelPtr(k, i)[0];
        return s;
    };
    // Refused points name themselves and keep a zero row.
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "refused"), 4);
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "Point 0 at x 30, y 30"), 1);
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "3.75e+255"), 1);
    for (int i : {0, 2, 3, 5})
        EXPECT_EQ(rowSum(i), 0.0) << i;
    // Thousands of turns are still ordinary: the same histogram up to the rounding of
    // the turns.
    EXPECT_GT(rowSum(1), 0.0);
    for (int k = 0; k < 128; ++k)
        EXPECT_NEAR(result->PixelPtr(k, 4)[0], result->PixelPtr(k, 1)[0], 1.0) << k;

    // The single-point entry refuses as well, and returns at once.
    std::vector<double> row(128, 0.0);
    PlanePtr angle = Plane(60, 60, [](long long, long long) { return 0.0; });
    fist.InternalSample(row.data(), channel.get(), angle.get(), 2.0, 30, 30, -3.75e255);
    for (double v : row)
        EXPECT_EQ(v, 0.0);
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "refused"), 5);
}
