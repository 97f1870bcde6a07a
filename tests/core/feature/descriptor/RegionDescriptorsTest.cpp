#include "core/feature/descriptor/RegionDescriptors.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "basis/CmdOptions.h"
#include "core/array/ReadRaw.h"
#include "core/feature/InterestPointFeature.h"
#include "support/LogCapture.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"
#include "util/IOBufferFile.h"

using Tavlin::CmdOptions;
using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Array::Array2dVec3UInt8;
using Tavlin::Core::Feature::CalculateRegionDescriptors;
using Tavlin::Core::Feature::ComputeRegionDescriptor;
using Tavlin::Core::Feature::CreateCircleMask;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::InterestPointFeature;
using Tavlin::Core::Feature::MakePatch;
using Tavlin::Core::Feature::PointDescriptorTable;
using TestSupport::MakeColourImage8;

namespace
{

typedef std::unique_ptr<Array2dVec3UInt8> ImagePtr;

// The options as the tool registers them, with the given overrides.
void Options(std::vector<std::string> args = {})
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.Initialise(false, false, false);
    InterestPointFeature::AddCmdOptions();
    args.insert(args.begin(), "lumisk");
    args.push_back("image");
    testing::internal::CaptureStdout();
    const std::string message = options.DoParseArgs(args, 1);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(message, "");
}

ImagePtr Constant(long long width, long long height, int r, int g, int b)
{
    return ImagePtr(MakeColourImage8(width, height, [=](long long, long long, int c) { return c == 0 ? r : (c == 1 ? g : b); }));
}

std::vector<double> Describe(Array2dVec3UInt8* patch, const std::string& name, bool mask)
{
    std::vector<double> result;
    ComputeRegionDescriptor(result, patch, name, mask, 0, 0);
    return result;
}

std::string Thrown(Array2dVec3UInt8* patch, const std::string& name, bool mask, std::string* err)
{
    testing::internal::CaptureStderr();
    std::string text;
    try
    {
        Describe(patch, name, mask);
    }
    catch (const char* thrown)
    {
        text = thrown;
    }
    *err = testing::internal::GetCapturedStderr();
    return text;
}

double Sum(const std::vector<double>& v, size_t from, size_t count)
{
    return std::accumulate(v.begin() + from, v.begin() + from + count, 0.0);
}

// An image with a border of 120 whose pixel (x, y) holds (x + 120, y + 120, 7), border
// included, so a patch tells where it was cut.
ImagePtr PositionImage(long long width, long long height)
{
    ImagePtr image(new Array2dVec3UInt8(width, height, 120, 120));
    for (long long y = -120; y < height + 120; ++y)
        for (long long x = -120; x < width + 120; ++x)
        {
            unsigned char* p = image->PixelPtr(x, y);
            p[0] = static_cast<unsigned char>(x + 120);
            p[1] = static_cast<unsigned char>(y + 120);
            p[2] = 7;
        }
    return image;
}

} // namespace

TEST(CreateCircleMask, MarksTheDiscAroundTheIntegerCentre)
{
    std::unique_ptr<Array2dReal64> five(CreateCircleMask(5));
    const std::vector<double> expectedFive{0, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1, 0};
    ASSERT_EQ(five->Width(), 5);
    ASSERT_EQ(five->Height(), 5);
    EXPECT_EQ(std::vector<double>(five->Data(), five->Data() + 25), expectedFive);

    // Even sizes: the centre is n/2 = 2, so the disc leans to the bottom right.
    std::unique_ptr<Array2dReal64> four(CreateCircleMask(4));
    const std::vector<double> expectedFour{0, 0, 1, 0, 0, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1};
    EXPECT_EQ(std::vector<double>(four->Data(), four->Data() + 16), expectedFour);

    std::unique_ptr<Array2dReal64> one(CreateCircleMask(1));
    EXPECT_EQ(one->Data()[0], 1.0);

    // Odd masks are symmetric and reach the middle of each edge.
    std::unique_ptr<Array2dReal64> big(CreateCircleMask(61));
    for (int y = 0; y < 61; ++y)
        for (int x = 0; x < 61; ++x)
            ASSERT_EQ(big->PixelPtr(x, y)[0], big->PixelPtr(60 - x, y)[0]) << x << " " << y;
    EXPECT_EQ(big->PixelPtr(0, 30)[0], 1.0);
    EXPECT_EQ(big->PixelPtr(30, 60)[0], 1.0);
    EXPECT_EQ(big->PixelPtr(0, 0)[0], 0.0);
}

TEST(MakePatch, CutsTheSquareAndFallsBackOnTheBorderRadius)
{
    ImagePtr image = PositionImage(100, 100);
    Array2dVec3UInt8* patch = nullptr;

    // Scale 1.2 means radius 12: side 25, from (38, 38).
    MakePatch(patch, image.get(), 50, 50, 12);
    ASSERT_NE(patch, nullptr);
    EXPECT_EQ(patch->Width(), 25);
    EXPECT_EQ(patch->Height(), 25);
    EXPECT_EQ(patch->PixelPtr(0, 0)[0], 38 + 120);
    EXPECT_EQ(patch->PixelPtr(24, 0)[0], 62 + 120);
    EXPECT_EQ(patch->PixelPtr(0, 24)[1], 62 + 120);

    // A patch of the right size is reused.
    Array2dVec3UInt8* same = patch;
    MakePatch(patch, image.get(), 10, 20, 12);
    EXPECT_EQ(patch, same);
    EXPECT_EQ(patch->PixelPtr(0, 0)[1], 8 + 120);

    // Radius 120 reaches exactly to the border's edge.
    MakePatch(patch, image.get(), 0, 0, 120);
    ASSERT_NE(patch, nullptr);
    EXPECT_EQ(patch->Width(), 241);
    EXPECT_EQ(patch->PixelPtr(0, 0)[0], 0);
    EXPECT_EQ(patch->PixelPtr(240, 240)[1], 240);

    // A larger radius is kept where it fits and cut down to 120 where it does not.
    MakePatch(patch, image.get(), 50, 50, 130);
    ASSERT_NE(patch, nullptr);
    EXPECT_EQ(patch->Width(), 261);
    MakePatch(patch, image.get(), 5, 50, 130);
    ASSERT_NE(patch, nullptr);
    EXPECT_EQ(patch->Width(), 241);
    EXPECT_EQ(patch->PixelPtr(0, 0)[0], 5);

    // Outside even at radius 120: a message and no patch.
    testing::internal::CaptureStderr();
    MakePatch(patch, image.get(), -1, 50, 120);
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(patch, nullptr);
    EXPECT_EQ(err, "[ERROR] Segfault highly likely due to too small border in MakeRoi (therefore aborted): "
                   "left=-121; limit=-120; top=-70; limit=-120; right=119; limit=220; bottom=170; limit=220\n");
}

TEST(ComputeRegionDescriptor, RgbHistogramCountsTheDiscOnly)
{
    Options();
    // Inside the disc of a 5 x 5 patch R is 255 and G 0; the four corners, outside
    // the disc, are the other way round and must not count.
    ImagePtr patch(MakeColourImage8(5, 5, [](long long x, long long y, int c) {
        const bool corner = (x == 0 || x == 4) && (y == 0 || y == 4);
        return c == 2 ? 100 : ((c == 0) != corner ? 255 : 0);
    }));
    std::vector<double> masked = Describe(patch.get(), "rgbhistogram", true);
    ASSERT_EQ(masked.size(), 45u);
    EXPECT_EQ(masked[14], 1.0);
    EXPECT_EQ(masked[15], 1.0);
    // 100 / (256 / 15) = 5.86: bin 5.
    EXPECT_EQ(masked[30 + 5], 1.0);
    for (int p = 0; p < 3; ++p)
        EXPECT_EQ(Sum(masked, 15 * p, 15), 1.0) << p;

    std::vector<double> whole = Describe(patch.get(), "rgbhistogram", false);
    EXPECT_DOUBLE_EQ(whole[14], 21.0 / 25);
    EXPECT_DOUBLE_EQ(whole[0], 4.0 / 25);

    Options({"--descriptorBinCount", "4"});
    std::vector<double> four = Describe(patch.get(), "rgbhistogram", true);
    ASSERT_EQ(four.size(), 12u);
    EXPECT_EQ(four[3], 1.0);
    EXPECT_EQ(four[4], 1.0);
    EXPECT_EQ(four[8 + 1], 1.0);
    Options();
}

TEST(ComputeRegionDescriptor, HueOfGreyIsPiWithWeightOneTenth)
{
    Options();
    // 37 bins for the default 15. Grey has hue atan2(0, 0) + pi, the middle bin 18,
    // and weight sqrt(0.01) = 0.1 a pixel.
    ImagePtr grey = Constant(5, 5, 90, 90, 90);
    std::vector<double> five = Describe(grey.get(), "huehistogram", false);
    ASSERT_EQ(five.size(), 37u);
    EXPECT_DOUBLE_EQ(five[18], 1.0);
    EXPECT_EQ(Sum(five, 0, 37), five[18]);

    // Nine pixels weigh 0.9 in all: below 1, so the histogram is not normalised.
    ImagePtr small = Constant(3, 3, 40, 40, 40);
    std::vector<double> three = Describe(small.get(), "huehistogram", false);
    EXPECT_NEAR(three[18], 0.9, 1e-12);

    // Pure red has hue 210 degrees: 210 / 360 x 37 = 21.6, bin 21.
    ImagePtr red = Constant(3, 3, 255, 0, 0);
    std::vector<double> redHue = Describe(red.get(), "huehistogram", true);
    EXPECT_DOUBLE_EQ(redHue[21], 1.0);
}

TEST(ComputeRegionDescriptor, ChromaticityTransformedColourAndOpponent)
{
    Options();
    // nr = 100 / 200 = 0.5 in bin 7, ng = 0.25 in bin 3.
    ImagePtr reddish = Constant(5, 5, 100, 50, 50);
    std::vector<double> nrg = Describe(reddish.get(), "nrghistogram", true);
    ASSERT_EQ(nrg.size(), 30u);
    EXPECT_EQ(nrg[7], 1.0);
    EXPECT_EQ(nrg[15 + 3], 1.0);

    // Two values, mean 50 and deviation 50, become -1 and +1: bins 3 and 11 of 15
    // over [-2, 2].
    ImagePtr halves(MakeColourImage8(4, 4, [](long long x, long long, int) { return x < 2 ? 0 : 100; }));
    std::vector<double> transformed = Describe(halves.get(), "transformedcolorhistogram", false);
    ASSERT_EQ(transformed.size(), 45u);
    for (int p = 0; p < 3; ++p)
    {
        EXPECT_EQ(transformed[15 * p + 3], 0.5) << p;
        EXPECT_EQ(transformed[15 * p + 11], 0.5) << p;
    }
    // A constant patch has no deviation: its values are not numbers and count nowhere.
    std::vector<double> flat = Describe(reddish.get(), "transformedcolorhistogram", true);
    EXPECT_EQ(Sum(flat, 0, 45), 0.0);

    // Grey 90 has E = 0.004124876 x 255 x 90 = 94.7 (bin 5 of [0, 270)), El = 5.3
    // (bin 8 of [-70, 70)) and Ell = -15.4 (bin 5).
    ImagePtr grey = Constant(5, 5, 90, 90, 90);
    std::vector<double> opponent = Describe(grey.get(), "opponenthistogram", true);
    ASSERT_EQ(opponent.size(), 45u);
    EXPECT_EQ(opponent[5], 1.0);
    EXPECT_EQ(opponent[15 + 8], 1.0);
    EXPECT_EQ(opponent[30 + 5], 1.0);
}

TEST(ComputeRegionDescriptor, MomentsOfAConstantPatchAreThoseOfAConstant)
{
    Options();
    // Shrunk from 81 to 61 the patch stays constant (up to the truncation of the
    // smoothing), whose moments are known: the mean of 1 is 1, that of B is B / 255,
    // the ratio invariants are 1 and the determinant ones 0.
    ImagePtr patch = Constant(81, 81, 51, 102, 204);
    std::vector<double> moments = Describe(patch.get(), "colormoments", true);
    ASSERT_EQ(moments.size(), 30u);
    EXPECT_EQ(moments[0], 1.0);
    EXPECT_NEAR(moments[1], 0.8, 0.01);
    EXPECT_NEAR(moments[2], 0.4, 0.01);
    EXPECT_NEAR(moments[3], 0.2, 0.01);
    // The first spatial moments: mean y and mean x over the disc, counted from 1.
    EXPECT_NEAR(moments[10], 31.0, 1e-9);
    EXPECT_NEAR(moments[20], 31.0, 1e-9);

    std::vector<double> invariants = Describe(patch.get(), "colormomentinvariants", true);
    ASSERT_EQ(invariants.size(), 24u);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(invariants[i], 1.0, 0.01) << i;
    for (int i = 9; i < 24; ++i)
        EXPECT_NEAR(invariants[i], 0.0, 0.05) << i;

    // Without the mask any shape will do.
    EXPECT_EQ(Describe(Constant(7, 3, 1, 2, 3).get(), "colormomentinvariants", false).size(), 24u);
}

TEST(ComputeRegionDescriptor, OpponentPlaneOfOutliersIsShownAndItsPatchWritten)
{
    Options();
    TestSupport::TempDir dir;
    char old[4096];
    ASSERT_NE(getcwd(old, sizeof(old)), nullptr);
    ASSERT_EQ(chdir(dir.Path().c_str()), 0);
    // Yellow has El = 93.9, beyond 70: that plane is all outliers.
    ImagePtr yellow = Constant(3, 3, 255, 255, 0);
    testing::internal::CaptureStdout();
    std::vector<double> result;
    ComputeRegionDescriptor(result, yellow.get(), "opponenthistogram", true, 17, 4);
    const std::string out = testing::internal::GetCapturedStdout();
    Tavlin::Util::IOBufferFile buffer("outlier.raw", true, false, false);
    Array2dVec3UInt8* readBack = nullptr;
    Tavlin::Core::Array::ReadRaw(readBack, &buffer);
    ASSERT_EQ(chdir(old), 0);

    EXPECT_EQ(TestSupport::CountOf(out, "hist range [-70,70] with 15 bins. Values: "), 1);
    EXPECT_EQ(TestSupport::CountOf(out, "h[14] ["), 1);
    EXPECT_EQ(TestSupport::CountOf(out, "Total weight: 9, outlier %: 100"), 1);
    EXPECT_EQ(TestSupport::CountOf(out, "[WARNING] Opponent color histogram 100% outliers: 17 4"), 1);
    EXPECT_EQ(Sum(result, 15, 15), 0.0);
    ASSERT_NE(readBack, nullptr);
    std::unique_ptr<Array2dVec3UInt8> owner(readBack);
    ASSERT_EQ(readBack->Width(), 3);
    EXPECT_EQ(std::vector<unsigned char>(readBack->Data(), readBack->Data() + 27),
              std::vector<unsigned char>(yellow->Data(), yellow->Data() + 27));
}

TEST(ComputeRegionDescriptor, RefusesUnknownNamesAndNonSquareMasks)
{
    Options();
    ImagePtr wide = Constant(5, 3, 1, 2, 3);
    std::string err;
    EXPECT_EQ(Thrown(wide.get(), "rgbhistogram", true, &err), "Using circularMask on a non-square source!");
    EXPECT_EQ(err, "[ERROR] Using circularMask on a non-square source!\n");
    EXPECT_EQ(Describe(wide.get(), "rgbhistogram", false).size(), 45u);
    EXPECT_EQ(Thrown(wide.get(), "nosuchhistogram", false, &err), "Invalid descriptor name");
    EXPECT_EQ(err, "[ERROR] Invalid descriptor name: nosuchhistogram\n");
    Options({"--descriptorBinCount", "0"});
    EXPECT_EQ(Thrown(wide.get(), "rgbhistogram", false, &err), "Invalid descriptorBinCount");
    Options();
}

TEST(CalculateRegionDescriptors, RadiusFollowsTheScaleAndFarPointsAreLeftOut)
{
    Options();
    // Around (40, 30): G is 255 beyond a distance of 11.5 (radius^2 132.25), R beyond 12.5
    // (156.25). Radius 12 (scale 1.2) sees some G but no R.
    ImagePtr image(MakeColourImage8(80, 60, [](long long x, long long y, int c) {
        const double d2 = static_cast<double>((x - 40) * (x - 40) + (y - 30) * (y - 30));
        if (c == 0)
            return d2 > 156.25 ? 255 : 0;
        if (c == 1)
            return d2 > 132.25 ? 255 : 0;
        return 0;
    }));
    PointDescriptorTable table(FeatureDefinition("none"));
    table.AddPoint(-500.0, 30.0, 1.2, 0.0, 0.0);
    table.AddPoint(40.2, 29.7, 1.2, 0.5, 2.0);
    TestSupport::LogCapture log("Core.Feature.CalculateRegionDescriptors", log4cpp::Priority::WARN);
    testing::internal::CaptureStderr();
    CalculateRegionDescriptors(image.get(), &table, "rgbhistogram");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(TestSupport::CountOf(err, "[ERROR] Segfault highly likely"), 1);
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "has no patch: left out"), 1);

    ASSERT_EQ(table.Size(), 1);
    ASSERT_EQ(table.GetDescriptorLength(), 45);
    EXPECT_EQ(table.X()[0], 40.2);
    EXPECT_EQ(table.Orientation()[0], 0.5);
    EXPECT_EQ(table.Cornerness()[0], 2.0);
    const double* d = table.GetDescriptor(0);
    EXPECT_EQ(d[0], 1.0);
    EXPECT_EQ(d[14], 0.0);
    EXPECT_GT(d[15 + 14], 0.0);

    // An unknown name is refused even without points.
    PointDescriptorTable none(FeatureDefinition("none"));
    testing::internal::CaptureStderr();
    EXPECT_THROW(CalculateRegionDescriptors(image.get(), &none, "nosuch"), const char*);
    testing::internal::GetCapturedStderr();
}

TEST(CalculateRegionDescriptors, PreSmoothingBlursThePatch)
{
    // A single white pixel in black: smoothed with sigma 1, its value spreads out.
    ImagePtr image(MakeColourImage8(30, 30, [](long long x, long long y, int) { return x == 15 && y == 15 ? 255 : 0; }));
    auto describe = [&](std::vector<std::string> args) {
        Options(args);
        PointDescriptorTable table(FeatureDefinition("none"));
        table.AddPoint(15.0, 15.0, 0.1, 0.0, 0.0);
        CalculateRegionDescriptors(image.get(), &table, "rgbhistogram");
        return std::vector<double>(table.GetDescriptor(0), table.GetDescriptor(0) + 45);
    };
    // Scale 0.1: radius 1, the 3 x 3 patch, all of it inside the disc.
    std::vector<double> plain = describe({});
    EXPECT_DOUBLE_EQ(plain[14], 1.0 / 9);
    EXPECT_DOUBLE_EQ(plain[0], 8.0 / 9);
    // The centre keeps 255 x 0.399^2 = 40.6 (bin 2), its four neighbours
    // 255 x 0.399 x 0.242 = 24.6 (bin 1), the corners 14.9 (bin 0).
    std::vector<double> smoothed = describe({"--descriptorPreSmoothing"});
    EXPECT_EQ(smoothed[14], 0.0);
    EXPECT_DOUBLE_EQ(smoothed[2], 1.0 / 9);
    EXPECT_DOUBLE_EQ(smoothed[1], 4.0 / 9);
    EXPECT_DOUBLE_EQ(smoothed[0], 4.0 / 9);
    Options();
}
