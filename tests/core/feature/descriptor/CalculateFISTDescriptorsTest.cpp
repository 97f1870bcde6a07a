#include "core/feature/descriptor/CalculateFISTDescriptors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "core/feature/descriptor/FISTDescriptor.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "support/LogCapture.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Array::Array2dVec3Real64;
using Tavlin::Core::Array::Array2dVec3UInt8;
using Tavlin::Core::Feature::CalculateFISTDescriptors;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::MakeFISTImage;
using Tavlin::Core::Feature::PointDescriptorTable;

namespace
{

// A textured colour image whose three channels differ.
std::unique_ptr<Array2dVec3UInt8> Texture()
{
    return std::unique_ptr<Array2dVec3UInt8>(TestSupport::MakeColourImage8(64, 48, [](long long x, long long y, int c) {
        return static_cast<int>(127.5 + 60 * std::sin(0.3 * x + 0.9 * c) + 60 * std::cos(0.23 * y - 0.4 * c + 0.05 * x));
    }));
}

// 30 points over a 64 x 48 image, scales of five ladder levels.
std::unique_ptr<PointDescriptorTable> Grid()
{
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition("sift"));
    const double scales[] = {1.0, 1.2, 1.9, 3.0, 5.5};
    for (long long y = 4; y < 48; y += 9)
        for (long long x = 3; x < 64; x += 11)
            table->AddPoint(x, y, scales[table->Size() % 5], 0.0, 0.0);
    return table;
}

std::vector<double> Descriptors(Array2dVec3UInt8* image, PointDescriptorTable* table, const std::string& name)
{
    CalculateFISTDescriptors(image, table, name);
    EXPECT_EQ(table->GetDescriptorStorage()->mHeight, table->Size());
    std::vector<double> all;
    for (int i = 0; i < table->Size(); ++i)
        all.insert(all.end(), table->GetDescriptor(i), table->GetDescriptor(i) + table->GetDescriptorLength());
    return all;
}

// The first `count` channels of `model`, each described on its own with `norm`,
// joined row by row.
std::vector<double> Joined(Array2dVec3Real64* image, const std::string& model, size_t count,
                           PointDescriptorTable* table, int norm)
{
    TestSupport::Owned<Array2dReal64> channels{Tavlin::Core::Feature::GetColorChannels(image, model)};
    EXPECT_GE(channels.p.size(), count);
    Tavlin::Core::Feature::FISTDescriptor<4, 8> fist;
    fist.mCustomNorm = norm;
    std::vector<double> joined(count * 128 * table->Size());
    for (size_t c = 0; c < count; ++c)
    {
        std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(channels.p[c], table));
        for (int row = 0; row < table->Size(); ++row)
            std::copy(result->mData + row * 128, result->mData + (row + 1) * 128,
                      joined.begin() + (row * count + c) * 128);
    }
    return joined;
}

} // namespace

TEST(MakeFISTImage, AppliesTheGammaFormOfTheName)
{
    const int red[] = {0, 128, 255};
    std::unique_ptr<Array2dVec3UInt8> image(
        TestSupport::MakeColourImage8(3, 1, [&](long long x, long long, int c) { return c == 0 ? red[x] : 64; }));
    auto g0 = [](double v) { return std::pow(v / 255.0, 2.2) * 255.0; };
    auto g1 = [=](double v) { return std::pow(g0(v), 5.0 / 9.0); };
    EXPECT_NEAR(g0(128), 56.0, 0.1);
    EXPECT_NEAR(g1(255), 21.7, 0.05);
    const struct
    {
        const char* name;
        std::function<double(double)> f;
    } forms[] = {
        {"opponentsift", [](double v) { return v; }},
        {"g0sift", g0},
        {"g1sift", g1},
        {"rgbg2sift", [=](double v) { return std::sqrt(g0(v)); }},
        {"g3sift", [](double v) { return 255.0 * std::pow(v / 255.0, 2.2 * 5.0 / 9.0); }},
        {"g4sift", [](double v) { return 255.0 * std::pow(v / 255.0, 1.1); }},
        // The lower-numbered form wins when a name holds two.
        {"g4siftg0sift", g0},
        {"g3siftg1sift", g1},
    };
    for (const auto& form : forms)
    {
        std::unique_ptr<Array2dVec3Real64> d(MakeFISTImage(image.get(), form.name));
        ASSERT_EQ(d->mWidth, 3);
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(d->PixelPtr(x, 0)[c], form.f(c == 0 ? red[x] : 64), 1e-9) << form.name << x << c;
    }
}

TEST(CalculateFISTDescriptors, JoinsTheChannelsOfTheModelWithTheNormOfTheName)
{
    std::unique_ptr<Array2dVec3UInt8> image = Texture();
    std::unique_ptr<Array2dVec3Real64> plain(MakeFISTImage(image.get(), ""));
    auto table = Grid();
    const struct
    {
        const char* name;
        const char* model;
        size_t count;
        int norm;
        const char* log; // a name empty after the suffixes logs nothing
    } cases[] = {
        {"sift", "", 1, -1, ""},
        {"fist", "", 1, -1, ""},
        {"opponentsift", "opponent", 3, -1, "Set custom norm: -1\n"},
        {"rgbsift", "rgb", 3, -1, "Set custom norm: -1\n"},
        {"rgsift", "rg", 3, -1, "Set custom norm: -1\n"},
        {"rgbn1sift", "rgb", 3, 1, "Set custom norm: 1\n"},
        {"n12sift", "", 1, 12, "Set custom norm: 12\n"},
        {"opponentn0sift", "opponent", 3, 0, "Set custom norm: 0\n"},
    };
    for (const auto& c : cases)
    {
        TestSupport::LogCapture log("Core.Feature.CalculateFISTDescriptors");
        const std::vector<double> all = Descriptors(image.get(), table.get(), c.name);
        EXPECT_EQ(all, Joined(plain.get(), c.model, c.count, table.get(), c.norm)) << c.name;
        for (double v : all)
            ASSERT_TRUE(v >= 0.0 && v <= 512.0 && v == std::floor(v)) << c.name << " " << v;
        EXPECT_EQ(table->GetDescriptorLength(), int(128 * c.count)) << c.name;
        EXPECT_EQ(log.Text(), c.log);
    }
    // A gamma form changes what is described.
    std::unique_ptr<Array2dVec3Real64> gamma(MakeFISTImage(image.get(), "g3sift"));
    EXPECT_EQ(Descriptors(image.get(), table.get(), "g3sift"), Joined(gamma.get(), "", 1, table.get(), -1));
    EXPECT_NE(Descriptors(image.get(), table.get(), "g3sift"), Descriptors(image.get(), table.get(), "sift"));

    // An unknown colour model leaves an empty descriptor and the points.
    TestSupport::LogCapture quiet("Core.Matrix.MatConcatenateHorizontal", log4cpp::Priority::FATAL);
    CalculateFISTDescriptors(image.get(), table.get(), "nosuchmodelsift");
    EXPECT_EQ(table->GetDescriptorLength(), 0);
    EXPECT_EQ(table->Size(), 30);
}

TEST(CalculateFISTDescriptors, PositionsAndScalesNoIntHoldsGiveZeroRowsWithAWarning)
{
    std::unique_ptr<Array2dVec3UInt8> image = Texture();
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition("sift"));
    table->AddPoint(30.0, 20.0, 1.2, 0.0, 0.0);
    table->AddPoint(1e300, 20.0, 1.2, 0.0, 0.0);
    table->AddPoint(30.0, -3e9, 1.2, 0.5, 0.0);
    table->AddPoint(30.0, 20.0, 1e300, 0.0, 0.0);
    TestSupport::LogCapture log("Core.Feature.FISTDescriptor", log4cpp::Priority::WARN);
    const std::vector<double> all = Descriptors(image.get(), table.get(), "sift");
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "refused: position is out of range"), 2);
    auto norm = [&](int row) {
        double sum = 0.0;
        for (int i = 0; i < 128; ++i)
            sum += all[row * 128 + i] * all[row * 128 + i];
        return sum;
    };
    EXPECT_GT(norm(0), 0.0);
    EXPECT_EQ(norm(1), 0.0);
    EXPECT_EQ(norm(2), 0.0);
    EXPECT_EQ(norm(3), 0.0);
}
