#include "core/feature/descriptor/GetColorChannels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "core/array/PixSum.h"
#include "support/LogCapture.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using Tavlin::Core::Feature::GetColorChannels;

namespace
{

// The planes of one call.
struct Planes : TestSupport::Owned<Array2dReal64>
{
    using Owned::Owned;
    double At(size_t i, long long x, long long y = 0) const { return *p.at(i)->PixelPtr(x, y); }
};

// Three pixels in a row: a colour, a grey, black; R, G, B on the 0..255 scale.
const double kPixels[3][3] = {{200, 100, 50}, {60, 60, 60}, {0, 0, 0}};

// With a border, which the planes do not take over.
Array2dVec3Real64* MakeImage()
{
    Array2dVec3Real64* a = new Array2dVec3Real64(3, 1, 2, 1);
    for (int x = 0; x < 3; ++x)
        std::copy(kPixels[x], kPixels[x] + 3, a->PixelPtr(x, 0));
    return a;
}

double Lin(const double* p, double a, double b, double c) { return a * p[0] + b * p[1] + c * p[2]; }
double L(const double* p) { return Lin(p, 0.212671, 0.71516, 0.072169); }

} // namespace

TEST(GetColorChannels, GivesEachModelItsChannelsInOrder)
{
    std::unique_ptr<Array2dVec3Real64> image(MakeImage());
    const std::pair<const char*, size_t> counts[] = {
        {"", 1},          {"no", 1},   {"rg", 3},  {"opponent", 3},    {"w", 3},          {"c", 3},
        {"hsv", 3},       {"rgb", 3},  {"t", 6},   {"transformedcolor", 3}, {"extopponent", 6}, {"exopponent", 6},
        {"tunechan-", 0}, {"sift", 0}, {"RGB", 0}, {"tunergb1x0x0x0x0x0x1+0x1x0x1x1x1x0", 2},
        {"tunechan-p1-nb-seed1,m2,3-c1-o1-gy-junk-i-rm-rg-seed0,0,1-", 10}};
    for (const auto& c : counts)
    {
        Planes planes(GetColorChannels(image.get(), c.first));
        ASSERT_EQ(planes.p.size(), c.second) << '"' << c.first << '"';
        for (Array2dReal64* p : planes.p)
            EXPECT_TRUE(p->Width() == 3 && p->Height() == 1 && p->BorderWidth() == 0 && p->BorderHeight() == 0);
    }

    const double* px = kPixels[0];
    Planes opponent(GetColorChannels(image.get(), "opponent"));
    Planes c(GetColorChannels(image.get(), "c"));
    const double maxE = opponent.At(0, 0);
    const double hue = std::acos((100 + 150) * 0.5 / std::sqrt(100.0 * 100 + 150.0 * 50)) * 0.15915494327375637;
    const char* const tune = "tunergb1x0x0x0x0x0x1+0x1x0x1x1x1x0";
    const char* const mixed = "tunechan-p1-nb-seed1,m2,3-c1-o1-gy-junk-i-rm-rg-seed0,0,1-";
    const struct
    {
        const char* model;
        int channel;
        int x;
        double expected;
    } values[] = {
        {"rg", 0, 0, L(px)}, {"rg", 1, 0, 200.0 / 350.0}, {"rg", 2, 0, 100.0 / 350.0},
        {"rg", 1, 2, 1.0 / 3.0}, // black: a third each
        {"rgb", 0, 0, 200}, {"rgb", 1, 0, 100}, {"rgb", 2, 0, 50},
        {"opponent", 0, 0, Lin(px, 0.000233846, 0.00261968, 0.00127135) * 255},
        {"opponent", 1, 0, Lin(px, 0.000726333, 0.000718106, -0.00121377) * 255},
        {"opponent", 2, 0, Lin(px, 0.000846833, -0.00173932, 0.000221515) * 255},
        // "c": D = (E + 1) / max E, then El / D and Ell / D.
        {"c", 0, 0, (maxE + 1.0) / maxE}, {"c", 0, 2, 1.0 / maxE},
        {"c", 1, 0, opponent.At(1, 0) / c.At(0, 0)}, {"c", 2, 1, opponent.At(2, 1) / c.At(0, 1)},
        // "hsv": L, hue on 0..1, saturation; a grey has hue and saturation 0.
        {"hsv", 0, 0, L(px)}, {"hsv", 1, 0, hue}, {"hsv", 2, 0, 1 - 50 / (350 / 3.0)}, {"hsv", 1, 1, 0}, {"hsv", 2, 1, 0},
        {"extopponent", 0, 0, Lin(px, 0, 0.10044, -0.994943)}, {"extopponent", 5, 0, Lin(px, 0.2126, 0.7152, 0.0722)},
        {"exopponent", 0, 0, Lin(px, 0.707107, 0, -0.707107)}, {"exopponent", 3, 0, Lin(px, -0.332099, -0.479925, 0.812024)},
        {"exopponent", 5, 0, 350},
        // A ratio, then a ratio whose denominator vanishes on black and becomes 1.
        {tune, 0, 0, 200}, {tune, 1, 0, 100.0 / 350.0}, {tune, 1, 2, 0},
        {"tunechan-b-r-", 0, 0, 200}, {"tunechan-b-r-", 1, 0, 50},
        // Named channels in table order, whatever the order of the name.
        {mixed, 0, 0, L(px)}, {mixed, 1, 0, 100}, {mixed, 2, 0, 300}, {mixed, 3, 0, 150},     // i, rg, rm, gy
        {mixed, 4, 0, opponent.At(1, 0) * 0.0125 + 0.5}, {mixed, 5, 0, c.At(1, 0) / 900 + 0.5}, // o1, c1
        {mixed, 6, 0, 50.0 / 350.0}, {mixed, 7, 0, std::atan2(200.0, 100.0)}, {mixed, 7, 2, 0}, // nb, p1
        {mixed, 8, 0, 200.0 - 200.0 + 150.0}, {mixed, 9, 0, 50.0},                             // seed 1,-2,3; 0,0,1
    };
    for (const auto& v : values)
        EXPECT_NEAR(Planes(GetColorChannels(image.get(), v.model)).At(v.channel, v.x), v.expected, 1e-12)
            << v.model << " channel " << v.channel << " pixel " << v.x;

    // "t" is exactly the six seed channels.
    Planes t(GetColorChannels(image.get(), "t"));
    const double seeds[6][3] = {{1, 2, 0}, {1, -2, 1}, {1, -2, 2}, {2, 1, -2}, {2, -1, -2}, {2, -2, -1}};
    for (int i = 0; i < 6; ++i)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(t.At(i, x), Lin(kPixels[x], seeds[i][0], seeds[i][1], seeds[i][2])) << i;
}

TEST(GetColorChannels, TransformedColorStandardisesEachChannel)
{
    std::unique_ptr<Array2dVec3Real64> image(TestSupport::MakeColourImage(
        7, 5, [](long long x, long long y, int c) { return c == 2 ? 42.0 : (x * 31 + y * 17 + c * 50) % 256; }));
    Planes planes(GetColorChannels(image.get(), "transformedcolor"));
    ASSERT_EQ(planes.p.size(), 3u);
    for (int c = 0; c < 2; ++c)
    {
        const double mean = PixSum(planes.p[c]) / 35;
        double square = 0.0;
        for (long long i = 0; i < 35; ++i)
            square += (planes.At(c, i % 7, i / 7) - mean) * (planes.At(c, i % 7, i / 7) - mean);
        EXPECT_NEAR(mean, 0.5, 1e-12);
        EXPECT_NEAR(std::sqrt(square / 35), 0.25, 1e-12);
    }
    // A constant channel has no deviation and becomes 0.5 throughout.
    for (long long x = 0; x < 7; ++x)
        EXPECT_EQ(planes.At(2, x, 3), 0.5);
}

TEST(GetColorChannels, InvariantDenominatorOnDarkImages)
{
    // All black under "c": the maximum 0 is replaced by 1, so D = 1 and El / D = 0.
    std::unique_ptr<Array2dVec3UInt8> black(
        TestSupport::MakeColourImage8(4, 3, [](long long, long long, int) { return 0; }));
    Planes c(GetColorChannels(black.get(), "c"));
    ASSERT_EQ(c.p.size(), 3u);
    for (long long i = 0; i < 12; ++i)
        EXPECT_TRUE(c.At(0, i % 4, i / 4) == 1.0 && c.At(1, i % 4, i / 4) == 0.0 && c.At(2, i % 4, i / 4) == 0.0);

    // A maximum of E below 1 counts as zero all the same: D = E + 1.
    std::unique_ptr<Array2dVec3Real64> dim(
        TestSupport::MakeColourImage(2, 1, [](long long x, long long, int) { return 0.4 * (x + 1); }));
    Planes w(GetColorChannels(dim.get(), "w"));
    Planes opponent(GetColorChannels(dim.get(), "opponent"));
    ASSERT_TRUE(opponent.At(0, 1) > 0.0 && opponent.At(0, 1) < 1.0);
    EXPECT_EQ(w.At(0, 0), opponent.At(0, 0) + 1.0);
    EXPECT_EQ(w.At(0, 1), opponent.At(0, 1) + 1.0);
}

TEST(GetColorChannels, EightBitInputMatchesDoubleInputAndIsLogged)
{
    auto f = [](long long x, long long y, int c) { return (x * 50 + y * 20 + c * 70) % 256; };
    std::unique_ptr<Array2dVec3UInt8> bytes(TestSupport::MakeColourImage8(5, 4, f));
    std::unique_ptr<Array2dVec3Real64> doubles(TestSupport::MakeColourImage(5, 4, f));
    TestSupport::LogCapture log("Tavlin.Core.Feature.GetColorChannels");
    Planes a(GetColorChannels(bytes.get(), "tunechan-seed1,m2,0-i-"));
    Planes b(GetColorChannels(doubles.get(), "tunechan-seed1,m2,0-i-"));
    ASSERT_EQ(a.p.size(), 2u);
    ASSERT_EQ(b.p.size(), 2u);
    for (size_t i = 0; i < 2; ++i)
        EXPECT_EQ(TestSupport::MaxAbsDiff(a.p[i], b.p[i]), 0.0);
    EXPECT_NE(log.Text().find("colorModel=tunechan-seed1,m2,0-i-\n"), std::string::npos) << log.Text();
    EXPECT_NE(log.Text().find("Seed a 1 b -2 c 0\n"), std::string::npos) << log.Text();
}
