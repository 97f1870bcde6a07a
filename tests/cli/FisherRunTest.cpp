// End-to-end Fisher encoding: `--codebookMode fisher --codebookName g` with the three
// Gaussian-mixture files under Codebooks/ writes one unit row of 2 x K x D values per
// spatial cell; a missing file ends the run before any image.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/feature/PointDescriptorIO.h"
#include "support/ImageCodecs.h"
#include "support/Mixtures.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"
#include "util/IOBufferFile.h"

using namespace TestSupport;
using Tavlin::Core::Array::Array2dReal64;

namespace
{

testing::AssertionResult Has(const std::string& text, const std::string& what)
{
    if (text.find(what) != std::string::npos)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "\"" << what << "\" not in:\n" << text;
}

// A mixture in the range of SIFT values, 6 Gaussians of 128 dimensions.
MixtureData SiftLikeMixture()
{
    MixtureData m = RandomMixture(6, 128, 1.0, 51);
    for (int j = 0; j < 6; j++)
        for (int k = 0; k < 128; k++)
        {
            m.mean[j][k] = 0.1 + 0.05 * (m.mean[j][k] + 1);
            m.var[j][k] *= 0.01;
        }
    return m;
}

class FisherRun : public testing::Test
{
protected:
    void SetUp() override
    {
        PlainImage picture = MakeTexturedImage(64, 48, 3, 5);
        WriteTextFile(dir.File("photo.jpg"), EncodeJpeg(picture, JCS_RGB, JCS_YCbCr, 90));
        mkdir(dir.File("Codebooks").c_str(), 0755);
    }

    RunResult Run(const std::vector<std::string>& more)
    {
        std::vector<std::string> args{"photo.jpg", "--detector", "densesampling", "--descriptor", "sift",
                                      "--output", "o.bin", "--outputFormat", "binary",
                                      "--codebook", "Codebooks/g.gmm-mean.raw", "--codebookMode", "fisher"};
        args.insert(args.end(), more.begin(), more.end());
        return RunLumisk(args, dir.Path());
    }

    TempDir dir;
};

} // namespace

TEST_F(FisherRun, OneUnitRowPerCell)
{
    WriteMixtureCodebook(dir.File("Codebooks"), "g", SiftLikeMixture());
    RunResult run = Run({"--codebookName", "g", "--pointSelector", "pyramid-1x1-2x2-3x1"});
    ASSERT_EQ(run.status, 0) << run.out;

    std::unique_ptr<Tavlin::Util::IOBuffer> in(new Tavlin::Util::IOBufferFile(dir.File("o.bin"), true, false, false));
    Array2dReal64* points = nullptr;
    Array2dReal64* vectors = nullptr;
    ASSERT_TRUE(in->Valid());
    Tavlin::Core::Feature::ReadBINDESC1FromBuffer(points, vectors, in.get(), true, true);
    std::unique_ptr<Array2dReal64> p(points), v(vectors);
    ASSERT_TRUE(p && v);
    ASSERT_EQ(v->mHeight, 8);
    ASSERT_EQ(v->mWidth, 2 * 6 * 128);
    for (int r = 0; r < 8; ++r)
    {
        double sum = 0;
        for (long long k = 0; k < v->mWidth; ++k)
            sum += v->mData[r * v->mWidth + k] * v->mData[r * v->mWidth + k];
        EXPECT_NEAR(std::sqrt(sum), 1.0, 1e-12) << r;
        // Rows are cells: point columns 0 (1 in the file's 1-based positions).
        for (int c = 0; c < 5; ++c)
            EXPECT_EQ(p->mData[5 * r + c], c < 2 ? 1.0 : 0.0);
    }

    // A cell outside the image gives a zero row and the warning.
    RunResult empty = Run({"--codebookName", "g", "--pointSelector", "P1x1#0+B1000#2000/1#10"});
    ASSERT_EQ(empty.status, 0) << empty.out;
    EXPECT_TRUE(Has(empty.out, "Pyramid level 1 has 0 points"));
    const std::string text = ReadTextFile(dir.File("o.bin"));
    EXPECT_GT(text.size(), 2 * 6 * 128 * 8 * 2u);
}

TEST_F(FisherRun, AMissingMixtureFileEndsTheRunBeforeAnyImage)
{
    const char* kinds[] = {"gmm-mean", "gmm-var", "gmm-weights"};
    const char* messages[] = {"Mean not found", "Variance not found", "Weights not found"};
    for (int i = 0; i < 3; i++)
    {
        TempDir store;
        mkdir(store.File("Codebooks").c_str(), 0755);
        WriteMixtureCodebook(store.File("Codebooks"), "g", SiftLikeMixture(), {kinds[i]});
        // The codebook option needs some matrix: the weights file, or the means.
        RunResult run = RunLumisk({"photo-that-is-not-there.jpg", "--codebook",
                                   std::string("Codebooks/g.") + (i == 2 ? "gmm-mean" : "gmm-weights") + ".raw",
                                   "--codebookMode", "fisher", "--codebookName", "g", "--output", "o.bin"},
                                  store.Path());
        EXPECT_EQ(run.status, 1) << kinds[i];
        EXPECT_TRUE(Has(run.out, messages[i])) << kinds[i];
        EXPECT_FALSE(Has(run.out, "photo-that-is-not-there")) << kinds[i];
        EXPECT_FALSE(PathExists(store.File("o.bin")));
    }
}
