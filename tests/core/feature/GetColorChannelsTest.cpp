#include "core/feature/GetColorChannels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "core/array/PixSum.h"
#include "support/LogCapture.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using Tavlin::Core::Feature::GetColorChannels;

namespace
{

// Owns the planes of one call.
struct Planes
{
    std::vector<Array2dReal64*> p;
    explicit Planes(std::vector<Array2dReal64*> planes) : p(std::move(planes)) {}
    ~Planes()
    {
        for (Array2dReal64* a : p)
            delete a;
    }
    size_t size() const { return p.size(); }
    double At(size_t i, long long x, long long y) const { return *p[i]->PixelPtr(x, y); }
};

// Three pixels in a row: a colour, a grey, black; R, G, B on the 0..255 scale.
const double kPixels[3][3] = {{200, 100, 50}, {60, 60, 60}, {0, 0, 0}};

Array2dVec3Real64* MakeImage()
{
    Array2dVec3Real64* a = new Array2dVec3Real64(3, 1, 2, 1);
    for (int x = 0; x < 3; ++x)
        for (int c = 0; c < 3; ++c)
            a->PixelPtr(x, 0)[c] = kPixels[x][c];
    return a;
}

double L(const double* p) { return 0.212671 * p[0] + 0.71516 * p[1] + 0.072169 * p[2]; }
double Lin(const double* p, double a, double b, double c) { return a * p[0] + b * p[1] + c * p[2]; }

} // namespace

TEST(GetColorChannels, GivesEachModelItsChannelsInOrder)
{
    std::unique_ptr<Array2dVec3Real64> image(MakeImage());
    const double* px = kPixels[0];
    const struct
    {
        const char* name;
        size_t count;
    } counts[] = {{"", 1},           {"no", 1},          {"rg", 3},         {"opponent", 3},
                  {"w", 3},          {"c", 3},           {"hsv", 3},        {"transformedcolor", 3},
                  {"rgb", 3},        {"extopponent", 6}, {"exopponent", 6}, {"t", 6},
                  {"tunechan-", 0},  {"sift", 0},        {"RGB", 0},        {"tunergb1x0x0x0x0x0x1+0x1x0x1x1x1x0", 2}};
    for (const auto& c : counts)
    {
        Planes planes(GetColorChannels(image.get(), c.name));
        ASSERT_EQ(planes.size(), c.count) << '"' << c.name << '"';
        for (Array2dReal64* p : planes.p)
        {
            EXPECT_EQ(p->Width(), 3);
            EXPECT_EQ(p->Height(), 1);
            EXPECT_EQ(p->BorderWidth(), 0);
            EXPECT_EQ(p->BorderHeight(), 0);
        }
    }

    Planes rg(GetColorChannels(image.get(), "rg"));
    EXPECT_NEAR(rg.At(0, 0, 0), L(px), 1e-12);
    EXPECT_NEAR(rg.At(1, 0, 0), 200.0 / 350.0, 1e-15);
    EXPECT_NEAR(rg.At(2, 0, 0), 100.0 / 350.0, 1e-15);
    EXPECT_NEAR(rg.At(1, 2, 0), 1.0 / 3.0, 1e-15); // black: a third each

    Planes rgb(GetColorChannels(image.get(), "rgb"));
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(rgb.At(c, 0, 0), px[c]);

    Planes opponent(GetColorChannels(image.get(), "opponent"));
    EXPECT_NEAR(opponent.At(0, 0, 0), Lin(px, 0.000233846, 0.00261968, 0.00127135) * 255, 1e-12);
    EXPECT_NEAR(opponent.At(1, 0, 0), Lin(px, 0.000726333, 0.000718106, -0.00121377) * 255, 1e-12);
    EXPECT_NEAR(opponent.At(2, 0, 0), Lin(px, 0.000846833, -0.00173932, 0.000221515) * 255, 1e-12);

    // "c": D = (E + 1) / max E, then El / D and Ell / D.
    Planes c(GetColorChannels(image.get(), "c"));
    const double maxE = opponent.At(0, 0, 0);
    EXPECT_NEAR(c.At(0, 0, 0), (maxE + 1.0) / maxE, 1e-12);
    EXPECT_NEAR(c.At(0, 2, 0), 1.0 / maxE, 1e-12);
    EXPECT_NEAR(c.At(1, 0, 0), opponent.At(1, 0, 0) / c.At(0, 0, 0), 1e-12);
    EXPECT_NEAR(c.At(2, 1, 0), opponent.At(2, 1, 0) / c.At(0, 1, 0), 1e-12);

    // "hsv": L, hue on 0..1, saturation; a grey has hue 0.
    Planes hsv(GetColorChannels(image.get(), "hsv"));
    EXPECT_NEAR(hsv.At(0, 0, 0), L(px), 1e-12);
    const double hue = std::acos((100 + 150) * 0.5 / std::sqrt(100.0 * 100 + 150.0 * 50)) * 0.15915494327375637;
    EXPECT_NEAR(hsv.At(1, 0, 0), hue, 1e-12);
    EXPECT_NEAR(hsv.At(2, 0, 0), 1 - 50 / (350 / 3.0), 1e-12);
    EXPECT_EQ(hsv.At(1, 1, 0), 0.0);
    EXPECT_EQ(hsv.At(2, 1, 0), 0.0);

    Planes ext(GetColorChannels(image.get(), "extopponent"));
    EXPECT_NEAR(ext.At(0, 0, 0), Lin(px, 0, 0.10044, -0.994943), 1e-12);
    EXPECT_NEAR(ext.At(5, 0, 0), Lin(px, 0.2126, 0.7152, 0.0722), 1e-12);
    Planes ex(GetColorChannels(image.get(), "exopponent"));
    EXPECT_NEAR(ex.At(0, 0, 0), Lin(px, 0.707107, 0, -0.707107), 1e-12);
    EXPECT_NEAR(ex.At(3, 0, 0), Lin(px, -0.332099, -0.479925, 0.812024), 1e-12);
    EXPECT_EQ(ex.At(5, 0, 0), 350.0);

    // A ratio, then a ratio whose denominator vanishes on black and becomes 1.
    Planes tune(GetColorChannels(image.get(), "tunergb1x0x0x0x0x0x1+0x1x0x1x1x1x0"));
    EXPECT_EQ(tune.At(0, 0, 0), 200.0);
    EXPECT_NEAR(tune.At(1, 0, 0), 100.0 / 350.0, 1e-15);
    EXPECT_EQ(tune.At(1, 2, 0), 0.0);
}

TEST(GetColorChannels, TransformedColorStandardisesEachChannel)
{
    std::unique_ptr<Array2dVec3Real64> image(TestSupport::MakeColourImage(
        7, 5, [](long long x, long long y, int c) { return c == 2 ? 42.0 : (x * 31 + y * 17 + c * 50) % 256; }));
    Planes planes(GetColorChannels(image.get(), "transformedcolor"));
    ASSERT_EQ(planes.size(), 3u);
    for (int c = 0; c < 2; ++c)
    {
        const double mean = PixSum(planes.p[c]) / 35;
        double square = 0.0;
        for (long long y = 0; y < 5; ++y)
            for (long long x = 0; x < 7; ++x)
                square += (planes.At(c, x, y) - mean) * (planes.At(c, x, y) - mean);
        EXPECT_NEAR(mean, 0.5, 1e-12);
        EXPECT_NEAR(std::sqrt(square / 35), 0.25, 1e-12);
    }
    // A constant channel has no deviation and becomes 0.5 throughout.
    for (long long x = 0; x < 7; ++x)
        EXPECT_EQ(planes.At(2, x, 3), 0.5);
}

TEST(GetColorChannels, NamedChannelsComeInTableOrder)
{
    std::unique_ptr<Array2dVec3Real64> image(MakeImage());
    const double* px = kPixels[0];

    Planes br(GetColorChannels(image.get(), "tunechan-b-r-"));
    ASSERT_EQ(br.size(), 2u);
    EXPECT_EQ(br.At(0, 0, 0), 200.0);
    EXPECT_EQ(br.At(1, 0, 0), 50.0);

    Planes mixed(GetColorChannels(image.get(), "tunechan-p1-nb-seed1,m2,3-c1-o1-gy-junk-i-rm-rg-seed0,0,1-"));
    ASSERT_EQ(mixed.size(), 10u);
    Planes opponent(GetColorChannels(image.get(), "opponent"));
    Planes c(GetColorChannels(image.get(), "c"));
    EXPECT_NEAR(mixed.At(0, 0, 0), L(px), 1e-12);                                    // i
    EXPECT_EQ(mixed.At(1, 0, 0), 100.0);                                              // rg
    EXPECT_EQ(mixed.At(2, 0, 0), 300.0);                                              // rm
    EXPECT_EQ(mixed.At(3, 0, 0), 150.0);                                              // gy
    EXPECT_NEAR(mixed.At(4, 0, 0), opponent.At(1, 0, 0) * 0.0125 + 0.5, 1e-12);      // o1
    EXPECT_NEAR(mixed.At(5, 0, 0), c.At(1, 0, 0) / 900 + 0.5, 1e-12);                 // c1
    EXPECT_NEAR(mixed.At(6, 0, 0), 50.0 / 350.0, 1e-15);                              // nb
    EXPECT_NEAR(mixed.At(7, 0, 0), std::atan2(200.0, 100.0), 1e-15);                 // p1
    EXPECT_EQ(mixed.At(7, 2, 0), 0.0);
    EXPECT_EQ(mixed.At(8, 0, 0), 200.0 - 200.0 + 150.0);                              // seed 1, -2, 3
    EXPECT_EQ(mixed.At(9, 0, 0), 50.0);                                               // seed 0, 0, 1

    // "t" is exactly the six seed channels.
    Planes t(GetColorChannels(image.get(), "t"));
    const double seeds[6][3] = {{1, 2, 0}, {1, -2, 1}, {1, -2, 2}, {2, 1, -2}, {2, -1, -2}, {2, -2, -1}};
    ASSERT_EQ(t.size(), 6u);
    for (int i = 0; i < 6; ++i)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(t.At(i, x, 0), Lin(kPixels[x], seeds[i][0], seeds[i][1], seeds[i][2])) << i;
}

TEST(GetColorChannels, InvariantDenominatorOnDarkImages)
{
    // All black under "c": the maximum 0 is replaced by 1, so D = 1 and El / D = 0.
    std::unique_ptr<Array2dVec3UInt8> black(
        TestSupport::MakeColourImage8(4, 3, [](long long, long long, int) { return 0; }));
    Planes c(GetColorChannels(black.get(), "c"));
    ASSERT_EQ(c.size(), 3u);
    for (long long y = 0; y < 3; ++y)
        for (long long x = 0; x < 4; ++x)
        {
            EXPECT_EQ(c.At(0, x, y), 1.0);
            EXPECT_EQ(c.At(1, x, y), 0.0);
            EXPECT_EQ(c.At(2, x, y), 0.0);
        }

    // A maximum of E below 1 counts as zero all the same: D = E + 1.
    std::unique_ptr<Array2dVec3Real64> dim(
        TestSupport::MakeColourImage(2, 1, [](long long x, long long, int) { return 0.4 * (x + 1); }));
    Planes w(GetColorChannels(dim.get(), "w"));
    Planes opponent(GetColorChannels(dim.get(), "opponent"));
    ASSERT_LT(opponent.At(0, 1, 0), 1.0);
    ASSERT_GT(opponent.At(0, 1, 0), 0.0);
    EXPECT_EQ(w.At(0, 0, 0), opponent.At(0, 0, 0) + 1.0);
    EXPECT_EQ(w.At(0, 1, 0), opponent.At(0, 1, 0) + 1.0);
}

TEST(GetColorChannels, EightBitInputAndLogging)
{
    std::unique_ptr<Array2dVec3UInt8> bytes(
        TestSupport::MakeColourImage8(5, 4, [](long long x, long long y, int c) { return (x * 50 + y * 20 + c * 70) % 256; }));
    std::unique_ptr<Array2dVec3Real64> doubles(
        TestSupport::MakeColourImage(5, 4, [](long long x, long long y, int c) { return (x * 50 + y * 20 + c * 70) % 256; }));
    TestSupport::LogCapture log("Tavlin.Core.Feature.GetColorChannels");
    Planes a(GetColorChannels(bytes.get(), "tunechan-seed1,m2,0-i-"));
    Planes b(GetColorChannels(doubles.get(), "tunechan-seed1,m2,0-i-"));
    ASSERT_EQ(a.size(), 2u);
    ASSERT_EQ(b.size(), 2u);
    for (size_t i = 0; i < 2; ++i)
        for (long long y = 0; y < 4; ++y)
            for (long long x = 0; x < 5; ++x)
                EXPECT_EQ(a.At(i, x, y), b.At(i, x, y));
    const std::string text = log.Text();
    EXPECT_NE(text.find("colorModel=tunechan-seed1,m2,0-i-\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Seed a 1 b -2 c 0\n"), std::string::npos) << text;
}
