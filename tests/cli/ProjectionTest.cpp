// End-to-end projection onto a codebook: one row per spatial cell in every mode, one
// row per point in "hardindex", the dimension checks with and without a reduction
// matrix, and the modes refused before the first image.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/DescriptorFiles.h"
#include "support/ImageCodecs.h"
#include "support/Matrices.h"
#include "support/PhotoRuns.h"
#include "support/TableFiles.h"

using namespace TestSupport;

namespace
{
const int sWords = 8;

double RowSum(const DescriptorFile& out, long long r, bool squares)
{
    double sum = 0.0;
    const double* v = out.vectors->mData + r * out.vectors->mWidth;
    for (long long k = 0; k < out.vectors->mWidth; ++k)
        sum += squares ? v[k] * v[k] : v[k];
    return sum;
}

class Projection : public PhotoRun
{
protected:
    void SetUp() override
    {
        MatrixPtr words = SiftWords(sWords, 128, 7);
        WriteRawFile(dir.File("cb.raw"), {words.get()});
    }
};
} // namespace

TEST_F(Projection, HardAndUncertaintyRowsAreFrequenciesPerCell)
{
    const std::vector<std::vector<std::string>> modes{{}, {"--codebookMode", "unc", "--codebookSigma", "90"}};
    for (const std::vector<std::string>& mode : modes)
    {
        std::vector<std::string> args{"--codebook", "cb.raw", "--pointSelector", "pyramid-1x1-2x2"};
        args.insert(args.end(), mode.begin(), mode.end());
        RunResult run = Run(args);
        ASSERT_EQ(run.status, 0) << run.out;
        DescriptorFile out = ReadDescriptorFile(dir.File("o.bin"));
        ASSERT_TRUE(out.points && out.vectors);
        ASSERT_EQ(out.vectors->mHeight, 5);
        ASSERT_EQ(out.vectors->mWidth, sWords);
        // Every cell of this image holds points: each row sums to 1.
        for (int r = 0; r < 5; ++r)
        {
            EXPECT_NEAR(RowSum(out, r, false), 1.0, 1e-12) << r;
            EXPECT_EQ(RowValues(*out.points, r), (std::vector<double>{1, 1, 0, 0, 0}));
        }
    }

    // Cells without points give zero rows; the text form is one line a cell.
    RunResult run = Run({"--codebook", "cb.raw", "--pointSelector", "P1x1#0+B1000#2000/1#10", "--output", "o.txt",
                         "--outputFormat", ""});
    ASSERT_EQ(run.status, 0) << run.out;
    const std::string text = ReadTextFile(dir.File("o.txt"));
    EXPECT_TRUE(Has(text, "VESK1\n8\n2\n<CIRCLE 1 1 0 0 0>; "));
    EXPECT_TRUE(Has(text, "<CIRCLE 1 1 0 0 0>; 0 0 0 0 0 0 0 0;\n"));
}

TEST_F(Projection, ResidualRowsHaveUnitNormAndHardIndexKeepsThePoints)
{
    RunResult sig2 = Run({"--codebook", "cb.raw", "--codebookMode", "sig2", "--pointSelector", "pyramid-1x1-2x2"});
    ASSERT_EQ(sig2.status, 0) << sig2.out;
    DescriptorFile rows = ReadDescriptorFile(dir.File("o.bin"));
    ASSERT_TRUE(rows.vectors);
    ASSERT_EQ(rows.vectors->mHeight, 5);
    ASSERT_EQ(rows.vectors->mWidth, sWords * 128);
    for (int r = 0; r < 5; ++r)
        EXPECT_NEAR(RowSum(rows, r, true), 1.0, 1e-12) << r;

    ASSERT_EQ(Run({}).status, 0);
    DescriptorFile plain = ReadDescriptorFile(dir.File("o.bin"));
    RunResult index = Run({"--codebook", "cb.raw", "--codebookMode", "hardindex", "--pointSelector", "pyramid-1x1-2x2"});
    ASSERT_EQ(index.status, 0) << index.out;
    DescriptorFile words = ReadDescriptorFile(dir.File("o.bin"));
    ASSERT_TRUE(plain.points && words.points && words.vectors);
    ASSERT_EQ(words.points->mHeight, plain.points->mHeight);
    ASSERT_EQ(words.vectors->mWidth, 1);
    ASSERT_GT(words.points->mHeight, 20);
    for (long long i = 0; i < words.points->mHeight; ++i)
    {
        EXPECT_EQ(words.points->mData[5 * i], plain.points->mData[5 * i]);
        const double w = words.vectors->mData[i];
        EXPECT_TRUE(w >= 0 && w < sWords && w == std::floor(w)) << w;
    }
}

TEST_F(Projection, CodebookAndReductionMustFitTheDescriptors)
{
    MatrixPtr narrow = SiftWords(sWords, 64, 8);
    WriteRawFile(dir.File("cb64.raw"), {narrow.get()});
    RunResult wrong = Run({"--codebook", "cb64.raw"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_TRUE(Has(wrong.out, "codebook: 64, descriptor:128"));
    EXPECT_TRUE(Has(wrong.out, "[ERROR] Dimensionality mismatch!"));
    EXPECT_FALSE(PathExists(dir.File("o.bin")));

    // 128 values reduced to 64 by a 128 x 64 matrix.
    MatrixPtr reduce = RandomMatrix(128, 64, 9);
    WriteRawFile(dir.File("reduce.raw"), {reduce.get()});
    RunResult reduced = Run({"--codebook", "cb64.raw", "--descriptorReduce", "reduce.raw", "--pointSelector",
                             "pyramid-1x1-2x2"});
    ASSERT_EQ(reduced.status, 0) << reduced.out;
    DescriptorFile out = ReadDescriptorFile(dir.File("o.bin"));
    ASSERT_TRUE(out.vectors);
    EXPECT_EQ(out.vectors->mHeight, 5);
    EXPECT_NEAR(RowSum(out, 0, false), 1.0, 1e-12);

    MatrixPtr bad = RandomMatrix(100, 64, 9);
    WriteRawFile(dir.File("bad.raw"), {bad.get()});
    RunResult bye = Run({"--codebook", "cb64.raw", "--descriptorReduce", "bad.raw", "--output", "p.bin"});
    EXPECT_EQ(bye.status, 1);
    EXPECT_TRUE(Has(bye.out, "Reduced descriptor dimensionality mismatch"));
    EXPECT_TRUE(Has(bye.out, "[ERROR] bye"));
    EXPECT_FALSE(PathExists(dir.File("p.bin")));
}

TEST_F(Projection, ModesAndSelectorsAreCheckedBeforeAnyImage)
{
    // "nil" reads no image: what ends these runs is the setup alone.
    auto setup = [&](std::vector<std::string> more) {
        std::vector<std::string> args{"nil", "--codebook", "cb.raw"};
        args.insert(args.end(), more.begin(), more.end());
        return RunLumisk(args, dir.Path());
    };
    RunResult selector = setup({"--pointSelector", "P1x1#0+X2"});
    EXPECT_EQ(selector.status, 1);
    EXPECT_TRUE(Has(selector.out, "[ERROR] Unknown pointSelector"));
    EXPECT_EQ(setup({"--pointSelector", "P1x1#0+P2x2#3"}).status, 0);

    RunResult sdc = setup({"--codebookMode", "sdc", "--codebookName", "words"});
    EXPECT_EQ(sdc.status, 1);
    EXPECT_TRUE(Has(sdc.out, "[ERROR] No diffstat statistics found for CodebookLocator("));
    for (const char* mode : {"forest", "fisher", "kdhard", "closestword", "closestword5", "mdc0"})
    {
        RunResult refused = setup({"--codebookMode", mode});
        EXPECT_EQ(refused.status, 1) << mode;
        EXPECT_TRUE(Has(refused.out, "ERROR")) << mode;
    }

    // The statistics stored beside the codebook under its name: lower ends, upper ends,
    // deviations. With them the histogram modes run and give unit rows.
    std::vector<double> statistics;
    for (double value : {-60.0, 60.0, 30.0})
        statistics.insert(statistics.end(), sWords * 128, value);
    WriteTextFile(dir.File("Codebooks/words.diffstat.raw"),
                  RawArrayFileBytes("version: 1, binary: 1, type: real64, elemSize: 1, width: 128, height: " +
                                        std::to_string(sWords) + ", nr: 3",
                                    BytesOf(statistics)));
    for (const char* mode : {"sdc", "mdc3"})
    {
        RunResult run = Run({"--codebook", "cb.raw", "--codebookMode", mode, "--codebookName", "words"});
        ASSERT_EQ(run.status, 0) << mode << run.out;
        DescriptorFile out = ReadDescriptorFile(dir.File("o.bin"));
        ASSERT_TRUE(out.vectors);
        EXPECT_EQ(out.vectors->mWidth, (mode[0] == 's' ? 2 : 3) * sWords * 128) << mode;
        EXPECT_NEAR(RowSum(out, 0, true), 1.0, 1e-12) << mode;
    }
}
