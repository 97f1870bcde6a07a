#include "core/feature/FISTDescriptor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/array/RecGauss.h"
#include "support/SyntheticImage.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::PointDescriptorTable;

namespace
{

typedef Tavlin::Core::Feature::FISTDescriptor<4, 8> Fist;
const double kTurn = 6.283185308;

int Element(int row, int column, int orientation) { return (row * 4 + column) * 8 + orientation; }

struct Planes
{
    std::unique_ptr<Array2dReal64> magnitude;
    std::unique_ptr<Array2dReal64> angle;
};

// Magnitude zero everywhere except `value` at (x, y), whose angle is `angle`.
Planes OnePixel(long long x, long long y, double value, double angle)
{
    Planes p;
    p.magnitude.reset(TestSupport::MakePlane(41, 41, 2, [](long long, long long) { return 0.0; }));
    p.angle.reset(TestSupport::MakePlane(41, 41, 0, [](long long, long long) { return 0.0; }));
    *p.magnitude->PixelPtr(x, y) = value;
    *p.angle->PixelPtr(x, y) = angle;
    return p;
}

std::vector<double> Sample(Fist& fist, const Planes& p, double scale, double y, double x, double orientation)
{
    std::vector<double> row(128, 0.0);
    fist.InternalSample(row.data(), p.magnitude.get(), p.angle.get(), scale, y, x, orientation);
    return row;
}

// Expects exactly the listed elements to be nonzero, each with its value.
void ExpectOnly(const std::vector<double>& row, const std::vector<std::pair<int, double>>& expected)
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

// Gradient planes of `channel` at sigma, as the descriptor defines them.
Planes Gradients(Array2dReal64* channel, double sigma)
{
    Array2dReal64* dx = nullptr;
    Array2dReal64* dy = nullptr;
    Tavlin::Core::Array::RecGauss(dx, channel, sigma, sigma, 1, 0, 3);
    Tavlin::Core::Array::RecGauss(dy, channel, sigma, sigma, 0, 1, 3);
    Planes p;
    p.magnitude.reset(TestSupport::MakePlane(channel->mWidth, channel->mHeight, 0, [&](long long x, long long y) {
        const double gx = *dx->PixelPtr(x, y), gy = *dy->PixelPtr(x, y);
        return std::sqrt(gx * gx + gy * gy);
    }));
    p.angle.reset(TestSupport::MakePlane(channel->mWidth, channel->mHeight, 0, [&](long long x, long long y) {
        return -std::atan2(*dy->PixelPtr(x, y), *dx->PixelPtr(x, y));
    }));
    delete dx;
    delete dy;
    return p;
}

double RowSum(const Array2dReal64* result, int row)
{
    double sum = 0.0;
    for (int k = 0; k < 128; ++k)
        sum += result->mData[row * 128 + k];
    return sum;
}

// Sum of a row's values per orientation bin.
std::vector<double> OrientationMass(const Array2dReal64* result, int row)
{
    std::vector<double> mass(8, 0.0);
    for (int k = 0; k < 128; ++k)
        mass[k % 8] += result->mData[row * 128 + k];
    return mass;
}

} // namespace

TEST(FISTDescriptorSample, SpreadsOnePixelOverNeighbouringBins)
{
    Fist fist;
    // Centre pixel: spatial bins 1.5, 1.5 and orientation bin 0.5, weight 1.
    Planes centre = OnePixel(20, 20, 1.0, kTurn / 16);
    ExpectOnly(Sample(fist, centre, 1.0, 20, 20, 0.0),
               {{Element(1, 1, 0), 0.125}, {Element(1, 1, 1), 0.125}, {Element(1, 2, 0), 0.125},
                {Element(1, 2, 1), 0.125}, {Element(2, 1, 0), 0.125}, {Element(2, 1, 1), 0.125},
                {Element(2, 2, 0), 0.125}, {Element(2, 2, 1), 0.125}});

    // One cell (3 pixels at scale 1) to the right: column bin 2.5, Gaussian exp(-1/8).
    Planes right = OnePixel(23, 20, 2.0, kTurn / 16);
    const double w = 2.0 * std::exp(-1.0 / 8.0) * 0.125;
    ExpectOnly(Sample(fist, right, 1.0, 20, 20, 0.0),
               {{Element(1, 2, 0), w}, {Element(1, 2, 1), w}, {Element(1, 3, 0), w}, {Element(1, 3, 1), w},
                {Element(2, 2, 0), w}, {Element(2, 2, 1), w}, {Element(2, 3, 0), w}, {Element(2, 3, 1), w}});

    // Without the window the same pixel weighs its magnitude only.
    fist.mNoGaussianWeight = true;
    ExpectOnly(Sample(fist, right, 1.0, 20, 20, 0.0),
               {{Element(1, 2, 0), 0.25}, {Element(1, 2, 1), 0.25}, {Element(1, 3, 0), 0.25},
                {Element(1, 3, 1), 0.25}, {Element(2, 2, 0), 0.25}, {Element(2, 2, 1), 0.25},
                {Element(2, 3, 0), 0.25}, {Element(2, 3, 1), 0.25}});
    fist.mNoGaussianWeight = false;

    // Orientation bin 7.5 wraps its upper half into bin 0.
    Planes wrap = OnePixel(20, 20, 1.0, 15 * kTurn / 16);
    ExpectOnly(Sample(fist, wrap, 1.0, 20, 20, 0.0),
               {{Element(1, 1, 7), 0.125}, {Element(1, 1, 0), 0.125}, {Element(1, 2, 7), 0.125},
                {Element(1, 2, 0), 0.125}, {Element(2, 1, 7), 0.125}, {Element(2, 1, 0), 0.125},
                {Element(2, 2, 7), 0.125}, {Element(2, 2, 0), 0.125}});

    // Two cells to the left: column bin -0.5, so only column 0 receives its half.
    Planes left = OnePixel(14, 20, 1.0, kTurn / 16);
    const double wl = std::exp(-4.0 / 8.0) * 0.125;
    ExpectOnly(Sample(fist, left, 1.0, 20, 20, 0.0),
               {{Element(1, 0, 0), wl}, {Element(1, 0, 1), wl}, {Element(2, 0, 0), wl}, {Element(2, 0, 1), wl}});

    // Beyond column bin -1 nothing lands.
    Planes far = OnePixel(12, 20, 1.0, kTurn / 16);
    ExpectOnly(Sample(fist, far, 1.0, 20, 20, 0.0), {});

    // A sub-pixel position shifts the bins: x = 19.75 samples around pixel 20, the centre
    // pixel lying 0.25 / 3 of a cell right of the point.
    const double u = 0.25 / 3.0;
    const double fc = u + 1.5 - 1.0;
    const double ws = std::exp(-(u * u) / 8.0) * 0.25;
    ExpectOnly(Sample(fist, centre, 1.0, 20, 19.75, 0.0),
               {{Element(1, 1, 0), ws * (1 - fc)}, {Element(1, 1, 1), ws * (1 - fc)}, {Element(1, 2, 0), ws * fc},
                {Element(1, 2, 1), ws * fc}, {Element(2, 1, 0), ws * (1 - fc)}, {Element(2, 1, 1), ws * (1 - fc)},
                {Element(2, 2, 0), ws * fc}, {Element(2, 2, 1), ws * fc}});
}

TEST(FISTDescriptorSample, RotatesGridAndAnglesByTheOrientation)
{
    Fist fist;
    // At a quarter turn a pixel to the right lies one grid row down, and its angle is
    // measured from the point's orientation.
    const double quarter = std::acos(-1.0) / 2;
    Planes right = OnePixel(23, 20, 1.0, quarter + kTurn / 16);
    std::vector<double> row = Sample(fist, right, 1.0, 20, 20, quarter);
    const double w = std::exp(-1.0 / 8.0) * 0.125;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            for (int o = 0; o < 8; ++o)
            {
                const bool hit = (r == 2 || r == 3) && (c == 1 || c == 2) && (o == 0 || o == 1);
                EXPECT_NEAR(row[Element(r, c, o)], hit ? w : 0.0, 1e-9) << r << " " << c << " " << o;
            }
}

TEST(FISTDescriptorSample, CornerPointSamplesOnlyInsideTheImage)
{
    Fist fist;
    Planes p;
    p.magnitude.reset(TestSupport::MakePlane(30, 30, 0, [](long long, long long) { return 1.0; }));
    p.angle.reset(TestSupport::MakePlane(30, 30, 0, [](long long, long long) { return 0.0; }));
    std::vector<double> row = Sample(fist, p, 2.0, 0, 0, 0.0);
    // Pixels above and left of the point are outside: grid row 0 and column 0 stay empty,
    // the rest of the grid is filled.
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
        {
            const double cell = row[Element(r, c, 0)];
            if (r == 0 || c == 0)
            {
                EXPECT_EQ(cell, 0.0) << r << " " << c;
            }
            else
            {
                EXPECT_GT(cell, 0.0) << r << " " << c;
            }
            for (int o = 1; o < 8; ++o)
                EXPECT_EQ(row[Element(r, c, o)], 0.0);
        }
    // The far corner likewise leaves the last row and column empty.
    row = Sample(fist, p, 2.0, 29, 29, 0.0);
    EXPECT_EQ(row[Element(3, 2, 0)], 0.0);
    EXPECT_EQ(row[Element(2, 3, 0)], 0.0);
    EXPECT_GT(row[Element(2, 2, 0)], 0.0);
}

TEST(FISTDescriptorNormalise, ClipsRenormalisesAndQuantises)
{
    Fist fist;
    auto normalised = [&](std::vector<double> row) {
        row.resize(128, 0.0);
        fist.Normalise(row.data());
        return row;
    };
    // One dominant bin: 1.0, clipped to 0.2, brought back to 1.0.
    std::vector<double> r = normalised({0.0, 5.0});
    EXPECT_EQ(r[1], 512.0);
    EXPECT_EQ(r[0], 0.0);
    // Two equal bins: 1/sqrt(2) each, both clipped, renormalised to 1/sqrt(2) again.
    r = normalised({3.0, 3.0});
    EXPECT_EQ(r[0], 362.0);
    EXPECT_EQ(r[1], 362.0);
    // All equal: 1/sqrt(128) x 512 = 45.25, not clipped.
    r = normalised(std::vector<double>(128, 7.0));
    for (double v : r)
        EXPECT_EQ(v, 45.0);
    // A sum of squares of at most 0.0001 keeps its size: 0.005 x 512 = 2.56.
    r = normalised({0.005, 0.005});
    EXPECT_EQ(r[0], 2.0);
    EXPECT_EQ(r[1], 2.0);
    // Zero stays zero.
    r = normalised({});
    for (double v : r)
        EXPECT_EQ(v, 0.0);

    fist.mCustomNorm = 1;
    r = normalised({3.0, 1.0}); // 0.75, 0.25, both clipped, then L1 gives 0.5 each
    EXPECT_EQ(r[0], 256.0);
    EXPECT_EQ(r[1], 256.0);
    fist.mCustomNorm = 3;
    r = normalised({1.0, 1.0}); // 2^(-1/3) x 512 = 406.37
    EXPECT_EQ(r[0], 406.0);
    fist.mCustomNorm = 2;
    r = normalised({3.0, 4.0}); // 0.6, 0.8 clipped; the same as L2 for a negative exponent
    EXPECT_EQ(r[0], 362.0);
    fist.mCustomNorm = 0;
    r = normalised({0.1, 0.3}); // no norm; 0.3 clipped to 0.2, no renormalisation
    EXPECT_EQ(r[0], 51.0);
    EXPECT_EQ(r[1], 102.0);

    fist.mCustomNorm = -1;
    fist.mOutputScale = 100.0;
    r = normalised({0.0, 0.0, 9.0});
    EXPECT_EQ(r[2], 100.0);
}

TEST(FISTDescriptorLadder, AssignsScalesToLevels)
{
    EXPECT_EQ(Fist::sScaleLadder[0], 1.00794);
    EXPECT_EQ(Fist::sScaleLadder[17], 51.2);
    EXPECT_EQ(Fist::sScaleLadder[18], -1.0);
    for (int i = 0; i + 1 < 18; ++i)
        EXPECT_NEAR(Fist::sScaleLadder[i + 1] / Fist::sScaleLadder[i], std::pow(2.0, 1.0 / 3.0), 2e-5);
    EXPECT_EQ(Fist::LevelOfScale(0.3), 0);
    EXPECT_EQ(Fist::LevelOfScale(1.0), 0);
    EXPECT_EQ(Fist::LevelOfScale(1.2699), 0);
    EXPECT_EQ(Fist::LevelOfScale(1.26992), 1);
    EXPECT_EQ(Fist::LevelOfScale(1.6), 2);
    EXPECT_EQ(Fist::LevelOfScale(40.6375), 16);
    EXPECT_EQ(Fist::LevelOfScale(51.19), 16);
    EXPECT_EQ(Fist::LevelOfScale(51.2), -1);
    EXPECT_EQ(Fist::LevelOfScale(400.0), -1);
}

TEST(FISTDescriptorLadder, LevelGradientsUseTheLadderScale)
{
    // Small values keep every bin below the clipping level; no norm and a large output
    // scale then show the raw histogram.
    std::unique_ptr<Array2dReal64> channel(TestSupport::MakePlane(
        48, 48, 0, [](long long x, long long y) { return 1e-3 * (std::sin(0.7 * x) + std::cos(0.45 * y + 0.2 * x)); }));
    auto table = Points({{20, 22, 1.0}, {25, 24, 1.26992}, {24, 24, 51.2}, {24, 24, 30.0}, {10, 9, 1.1},
                         {24, 24, 90.0}});
    Fist fist;
    fist.mCustomNorm = 0;
    fist.mOutputScale = 1e6;
    std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(channel.get(), table.get()));
    ASSERT_EQ(result->mWidth, 128);
    ASSERT_EQ(result->mHeight, 6);

    auto reference = [&](double sigma, int k) {
        Planes g = Gradients(channel.get(), sigma);
        std::vector<double> row(128, 0.0);
        fist.InternalSample(row.data(), g.magnitude.get(), g.angle.get(), table->Scale()[k], table->Y()[k],
                            table->X()[k], 0.0);
        for (double& v : row)
        {
            EXPECT_LT(v, 0.2);
            v = static_cast<int32_t>(v * 1e6);
        }
        return row;
    };
    auto row = [&](int k) { return std::vector<double>(result->mData + k * 128, result->mData + (k + 1) * 128); };
    EXPECT_EQ(row(0), reference(1.00794, 0));
    EXPECT_NE(row(0), reference(1.26992, 0));
    EXPECT_EQ(row(1), reference(1.26992, 1));
    EXPECT_NE(row(1), reference(1.00794, 1));
    EXPECT_EQ(row(3), reference(25.6, 3));
    EXPECT_EQ(row(4), reference(1.00794, 4));
    // Scales from 51.2 on get no histogram.
    EXPECT_EQ(RowSum(result.get(), 2), 0.0);
    EXPECT_EQ(RowSum(result.get(), 5), 0.0);
    EXPECT_GT(RowSum(result.get(), 3), 0.0);
}

TEST(FISTDescriptorImage, OrientedEdgesLandInTheirOrientationBins)
{
    Fist fist;
    // Dark left, bright right: gradient along +x, orientation bin 0.
    std::unique_ptr<Array2dReal64> vertical(
        TestSupport::MakePlane(64, 64, 0, [](long long x, long long) { return x < 32 ? 10.0 : 200.0; }));
    // Bright below (y grows downwards): angle -pi/2, bin 6; bright above: bin 2.
    std::unique_ptr<Array2dReal64> below(
        TestSupport::MakePlane(64, 64, 0, [](long long, long long y) { return y < 32 ? 10.0 : 200.0; }));
    std::unique_ptr<Array2dReal64> above(
        TestSupport::MakePlane(64, 64, 0, [](long long, long long y) { return y < 32 ? 200.0 : 10.0; }));
    std::unique_ptr<Array2dReal64> flat(TestSupport::MakePlane(64, 64, 0, [](long long, long long) { return 93.0; }));
    // The second point turns the grid a quarter: the vertical edge then reads as bin 6.
    auto table = Points({{32, 32, 2.0}, {32, 32, 2.0, std::acos(-1.0) / 2}, {31.6, 30.2, 3.5}});

    struct Case
    {
        Array2dReal64* channel;
        int bins[3];
    };
    for (const Case& c : {Case{vertical.get(), {0, 6, 0}}, Case{below.get(), {6, 4, 6}}, Case{above.get(), {2, 0, 2}}})
    {
        std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(c.channel, table.get()));
        for (int k = 0; k < 3; ++k)
        {
            std::vector<double> mass = OrientationMass(result.get(), k);
            // The recursive derivative rings a little, so the opposite bin may hold a trace.
            EXPECT_GE(mass[c.bins[k]], 512.0);
            for (int o = 0; o < 8; ++o)
            {
                if (o != c.bins[k])
                {
                    EXPECT_LT(mass[o], 0.02 * mass[c.bins[k]]) << "point " << k << " bin " << o;
                }
            }
            for (int v = 0; v < 128; ++v)
            {
                const double e = result->mData[k * 128 + v];
                EXPECT_TRUE(e >= 0.0 && e <= 512.0 && e == std::floor(e));
            }
        }
    }
    // Along a vertical edge through the centre, the two middle grid columns carry the mass.
    std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(vertical.get(), table.get()));
    double middle = 0.0, outer = 0.0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
        {
            double& sum = (c == 1 || c == 2) ? middle : outer;
            sum += result->mData[Element(r, c, 0)];
        }
    EXPECT_GT(middle, 4 * outer);

    std::unique_ptr<Array2dReal64> none(fist.DoCalculateFISTDescriptors(flat.get(), table.get()));
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(RowSum(none.get(), k), 0.0);
}

TEST(FISTDescriptorImage, EmptyTableGivesEmptyResult)
{
    Fist fist;
    std::unique_ptr<Array2dReal64> channel(TestSupport::MakePlane(8, 8, 0, [](long long x, long long) { return x; }));
    auto table = Points({});
    std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(channel.get(), table.get()));
    EXPECT_EQ(result->mWidth, 128);
    EXPECT_EQ(result->mHeight, 0);
}
