// End-to-end Fisher encoding: `--codebookMode fisher --codebookName g` with the three
// Gaussian-mixture files under Codebooks/ writes one unit row of 2 x K x D values per
// spatial cell; a missing file ends the run before any image.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "support/DescriptorFiles.h"
#include "support/Mixtures.h"
#include "support/PhotoRuns.h"

using namespace TestSupport;

namespace
{

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

// Runs of the fisher mode with the mixture "g".
struct FisherRun : PhotoRun
{
    RunResult Fisher(std::vector<std::string> more)
    {
        more.insert(more.begin(), {"--codebook", "Codebooks/g.gmm-mean.raw", "--codebookMode", "fisher",
                                   "--codebookName", "g"});
        return Run(more);
    }
};

} // namespace

TEST_F(FisherRun, OneUnitRowPerCell)
{
    WriteMixtureCodebook(dir.File("Codebooks"), "g", SiftLikeMixture());
    RunResult run = Fisher({"--pointSelector", "pyramid-1x1-2x2-3x1"});
    ASSERT_EQ(run.status, 0) << run.out;

    DescriptorFile out = ReadDescriptorFile(dir.File("o.bin"));
    ASSERT_TRUE(out.points && out.vectors);
    ASSERT_EQ(out.vectors->mHeight, 8);
    ASSERT_EQ(out.vectors->mWidth, 2 * 6 * 128);
    for (int r = 0; r < 8; ++r)
    {
        EXPECT_NEAR(RowNorm(*out.vectors, r), 1.0, 1e-12) << r;
        // Rows are cells: point columns 0 (1 in the file's 1-based positions).
        EXPECT_EQ(RowValues(*out.points, r), (std::vector<double>{1, 1, 0, 0, 0}));
    }

    // A cell outside the image gives a zero row and the warning.
    RunResult empty = Fisher({"--pointSelector", "P1x1#0+B1000#2000/1#10"});
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
