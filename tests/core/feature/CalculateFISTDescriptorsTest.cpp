#include "core/feature/CalculateFISTDescriptors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "core/feature/FISTDescriptor.h"
#include "core/feature/GetColorChannels.h"
#include "support/LogCapture.h"
#include "support/SyntheticImage.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Array::Array2dVec3Real64;
using Tavlin::Core::Array::Array2dVec3UInt8;
using Tavlin::Core::Feature::CalculateFISTDescriptors;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::MakeFISTImage;
using Tavlin::Core::Feature::PointDescriptorTable;

namespace
{

typedef Tavlin::Core::Feature::FISTDescriptor<4, 8> Fist;

// A textured colour image whose three channels differ.
std::unique_ptr<Array2dVec3UInt8> Texture(long long width = 64, long long height = 48)
{
    return std::unique_ptr<Array2dVec3UInt8>(TestSupport::MakeColourImage8(width, height, [](long long x, long long y, int c) {
        const double v = 127.5 + 60 * std::sin(0.3 * x + 0.9 * c) + 60 * std::cos(0.23 * y - 0.4 * c + 0.05 * x);
        return static_cast<int>(v);
    }));
}

std::unique_ptr<PointDescriptorTable> Grid(long long width, long long height)
{
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition("sift"));
    const double scales[] = {1.0, 1.2, 1.9, 3.0, 5.5};
    int n = 0;
    for (long long y = 4; y < height; y += 9)
        for (long long x = 3; x < width; x += 11)
            table->AddPoint(x, y, scales[n++ % 5], 0.0, 0.0);
    return table;
}

std::vector<double> Descriptors(Array2dVec3UInt8* image, PointDescriptorTable* table, const std::string& name)
{
    CalculateFISTDescriptors(image, table, name);
    const int length = table->GetDescriptorLength();
    std::vector<double> all;
    for (int i = 0; i < table->Size(); ++i)
        all.insert(all.end(), table->GetDescriptor(i), table->GetDescriptor(i) + length);
    return all;
}

// What one channel of `model` gives on its own, with the given norm.
std::vector<double> Channel(Array2dVec3Real64* image, const std::string& model, size_t index,
                            PointDescriptorTable* table, int norm)
{
    std::vector<Array2dReal64*> channels = Tavlin::Core::Feature::GetColorChannels(image, model);
    EXPECT_GT(channels.size(), index);
    Fist fist;
    fist.mCustomNorm = norm;
    std::unique_ptr<Array2dReal64> result(fist.DoCalculateFISTDescriptors(channels[index], table));
    for (Array2dReal64* c : channels)
        delete c;
    return std::vector<double>(result->mData, result->mData + 128 * table->Size());
}

// Block `index` of 128 values of every row.
std::vector<double> Block(const std::vector<double>& all, int length, int index)
{
    std::vector<double> block;
    for (size_t row = 0; row * length < all.size(); ++row)
        block.insert(block.end(), all.begin() + row * length + index * 128,
                     all.begin() + row * length + (index + 1) * 128);
    return block;
}

} // namespace

TEST(MakeFISTImage, AppliesTheGammaFormOfTheName)
{
    std::unique_ptr<Array2dVec3UInt8> image(TestSupport::MakeColourImage8(
        3, 1, [](long long x, long long, int c) { return c == 0 ? (x == 0 ? 0 : x == 1 ? 128 : 255) : 64; }));
    auto values = [&](const std::string& name) {
        std::unique_ptr<Array2dVec3Real64> d(MakeFISTImage(image.get(), name));
        EXPECT_EQ(d->mWidth, 3);
        return std::vector<double>{d->PixelPtr(0, 0)[0], d->PixelPtr(1, 0)[0], d->PixelPtr(2, 0)[0]};
    };
    const double g128 = std::pow(128 / 255.0, 2.2) * 255.0; // about 56
    EXPECT_NEAR(g128, 56.0, 0.1);

    EXPECT_EQ(values("opponentsift"), (std::vector<double>{0.0, 128.0, 255.0}));
    std::vector<double> v = values("g0sift");
    EXPECT_EQ(v[0], 0.0);
    EXPECT_NEAR(v[1], g128, 1e-12);
    EXPECT_NEAR(v[2], 255.0, 1e-12);
    v = values("g1sift");
    EXPECT_NEAR(v[1], std::pow(g128, 5.0 / 9.0), 1e-12);
    EXPECT_NEAR(v[2], 21.7, 0.05);
    v = values("rgbg2sift");
    EXPECT_NEAR(v[1], std::sqrt(g128), 1e-12);
    EXPECT_NEAR(v[2], std::sqrt(255.0), 1e-12);
    v = values("g3sift");
    EXPECT_NEAR(v[1], 255.0 * std::pow(128 / 255.0, 2.2 * 5.0 / 9.0), 1e-9);
    EXPECT_NEAR(v[2], 255.0, 1e-9);
    v = values("g4sift");
    EXPECT_NEAR(v[1], 255.0 * std::pow(128 / 255.0, 1.1), 1e-9);
    EXPECT_NEAR(v[2], 255.0, 1e-9);
    // The lower-numbered form wins when a name holds two.
    EXPECT_EQ(values("g4siftg0sift"), values("g0sift"));
    EXPECT_EQ(values("g3siftg1sift"), values("g1sift"));
    // Green and blue go through the same table.
    std::unique_ptr<Array2dVec3Real64> d(MakeFISTImage(image.get(), "g0sift"));
    EXPECT_NEAR(d->PixelPtr(0, 0)[1], std::pow(64 / 255.0, 2.2) * 255.0, 1e-12);
}

TEST(CalculateFISTDescriptors, LaysOutChannelsInColourModelOrder)
{
    std::unique_ptr<Array2dVec3UInt8> image = Texture();
    std::unique_ptr<Array2dVec3Real64> plain(MakeFISTImage(image.get(), ""));
    auto table = Grid(64, 48);

    std::vector<double> sift = Descriptors(image.get(), table.get(), "sift");
    EXPECT_EQ(table->GetDescriptorLength(), 128);
    EXPECT_EQ(table->GetDescriptorStorage()->mHeight, table->Size());
    EXPECT_EQ(sift, Channel(plain.get(), "", 0, table.get(), -1));
    EXPECT_EQ(Descriptors(image.get(), table.get(), "fist"), sift);

    for (const char* model : {"opponent", "rgb"})
    {
        std::vector<double> all = Descriptors(image.get(), table.get(), std::string(model) + "sift");
        ASSERT_EQ(table->GetDescriptorLength(), 384) << model;
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(Block(all, 384, c), Channel(plain.get(), model, c, table.get(), -1)) << model << c;
        EXPECT_NE(Block(all, 384, 0), Block(all, 384, 1));
    }
    // "rg" yields L, nr, ng: the first block is plain sift.
    std::vector<double> rg = Descriptors(image.get(), table.get(), "rgsift");
    ASSERT_EQ(table->GetDescriptorLength(), 384);
    EXPECT_EQ(Block(rg, 384, 0), sift);

    // Gamma forms change what is described; "g3sift" alone is intensity.
    std::unique_ptr<Array2dVec3Real64> gamma(MakeFISTImage(image.get(), "g3sift"));
    std::vector<double> g3 = Descriptors(image.get(), table.get(), "g3sift");
    EXPECT_EQ(table->GetDescriptorLength(), 128);
    EXPECT_EQ(g3, Channel(gamma.get(), "", 0, table.get(), -1));
    EXPECT_NE(g3, sift);
}

TEST(CalculateFISTDescriptors, PutsEachEdgeInItsOwnChannelBlock)
{
    // R: vertical edge (orientation bin 0); G: bright-below horizontal edge (bin 6); B flat.
    std::unique_ptr<Array2dVec3UInt8> image(TestSupport::MakeColourImage8(48, 48, [](long long x, long long y, int c) {
        return c == 0 ? (x < 24 ? 20 : 220) : c == 1 ? (y < 24 ? 30 : 200) : 90;
    }));
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition(""));
    table->AddPoint(24, 24, 1.8, 0.0, 0.0);
    std::vector<double> all = Descriptors(image.get(), table.get(), "rgbsift");
    ASSERT_EQ(all.size(), 384u);
    const int dominant[3] = {0, 6, -1};
    for (int c = 0; c < 3; ++c)
    {
        std::vector<double> mass(8, 0.0);
        for (int k = 0; k < 128; ++k)
            mass[k % 8] += all[c * 128 + k];
        for (int o = 0; o < 8; ++o)
        {
            if (o == dominant[c])
            {
                EXPECT_GE(mass[o], 512.0) << c;
            }
            else
            {
                EXPECT_LT(mass[o], 50.0) << c << " " << o;
            }
        }
    }
}

TEST(CalculateFISTDescriptors, ReadsTheCustomNormFromTheName)
{
    std::unique_ptr<Array2dVec3UInt8> image = Texture();
    std::unique_ptr<Array2dVec3Real64> plain(MakeFISTImage(image.get(), ""));
    auto table = Grid(64, 48);
    {
        TestSupport::LogCapture log("Core.Feature.CalculateFISTDescriptors");
        std::vector<double> all = Descriptors(image.get(), table.get(), "rgbn1sift");
        ASSERT_EQ(table->GetDescriptorLength(), 384);
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(Block(all, 384, c), Channel(plain.get(), "rgb", c, table.get(), 1));
        EXPECT_NE(all, Descriptors(image.get(), table.get(), "rgbsift"));
        EXPECT_NE(log.Text().find("Set custom norm: 1\n"), std::string::npos) << log.Text();
        EXPECT_NE(log.Text().find("Set custom norm: -1\n"), std::string::npos) << log.Text();
    }
    {
        TestSupport::LogCapture log("Core.Feature.CalculateFISTDescriptors");
        std::vector<double> all = Descriptors(image.get(), table.get(), "n12sift");
        EXPECT_EQ(table->GetDescriptorLength(), 128);
        EXPECT_EQ(all, Channel(plain.get(), "", 0, table.get(), 12));
        EXPECT_EQ(log.Text(), "Set custom norm: 12\n");
    }
    {
        // A name that is empty after the suffixes skips the step and its log line.
        TestSupport::LogCapture log("Core.Feature.CalculateFISTDescriptors");
        Descriptors(image.get(), table.get(), "sift");
        EXPECT_EQ(log.Text(), "");
    }
    // Exponent 0: no normalisation before clipping.
    EXPECT_EQ(Descriptors(image.get(), table.get(), "opponentn0sift"), [&] {
        std::vector<double> joined;
        std::vector<std::vector<double>> blocks;
        for (int c = 0; c < 3; ++c)
            blocks.push_back(Channel(plain.get(), "opponent", c, table.get(), 0));
        for (int row = 0; row < table->Size(); ++row)
            for (int c = 0; c < 3; ++c)
                joined.insert(joined.end(), blocks[c].begin() + row * 128, blocks[c].begin() + (row + 1) * 128);
        return joined;
    }());
}

TEST(CalculateFISTDescriptors, GivesWholeNumbersInRangeAndKeepsRowOrder)
{
    std::unique_ptr<Array2dVec3UInt8> image = Texture(80, 60);
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition("opponentsift"));
    const double points[][3] = {{0, 0, 1.2},     {79, 59, 2.5},  {40, 30, 51.2}, {40.4, 29.7, 7.0},
                                {12, 50, 1.0},   {40, 30, 80.0}, {70, 5, 3.3},   {40.4, 29.7, 7.0},
                                {0, 59, 45.0},   {33, 3, 12.0}};
    for (const auto& p : points)
        table->AddPoint(p[0], p[1], p[2], 0.0, 0.0);
    std::vector<double> all = Descriptors(image.get(), table.get(), "opponentsift");
    ASSERT_EQ(all.size(), 10u * 384);
    for (double v : all)
        EXPECT_TRUE(v >= 0.0 && v <= 512.0 && v == std::floor(v)) << v;
    for (int row = 0; row < 10; ++row)
    {
        double sum = 0.0;
        for (int k = 0; k < 384; ++k)
            sum += all[row * 384 + k];
        if (points[row][2] >= 51.2)
        {
            EXPECT_EQ(sum, 0.0) << row;
        }
        else
        {
            EXPECT_GT(sum, 0.0) << row;
        }
    }
    // The same point at two places of the table gets the same row.
    EXPECT_TRUE(std::equal(all.begin() + 3 * 384, all.begin() + 4 * 384, all.begin() + 7 * 384));

    // Reversing the table reverses the rows.
    auto reversed = std::make_unique<PointDescriptorTable>(FeatureDefinition("opponentsift"));
    for (int i = 9; i >= 0; --i)
        reversed->AddPoint(points[i][0], points[i][1], points[i][2], 0.0, 0.0);
    std::vector<double> back = Descriptors(image.get(), reversed.get(), "opponentsift");
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(std::equal(back.begin() + i * 384, back.begin() + (i + 1) * 384, all.begin() + (9 - i) * 384));
}

TEST(CalculateFISTDescriptors, UnknownColourModelLeavesAnEmptyDescriptor)
{
    std::unique_ptr<Array2dVec3UInt8> image = Texture(16, 16);
    auto table = Grid(16, 16);
    TestSupport::LogCapture quiet("Core.Matrix.MatConcatenateHorizontal", log4cpp::Priority::FATAL);
    CalculateFISTDescriptors(image.get(), table.get(), "nosuchmodelsift");
    EXPECT_EQ(table->GetDescriptorLength(), 0);
    EXPECT_GT(table->Size(), 0);
}
