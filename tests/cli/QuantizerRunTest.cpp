// End-to-end runs of the closest-word and forest modes: "closestword5" writes each
// point's position with its five nearest words, "forest" one row per cell that sums to
// 1; codebooks the run cannot use end it before any image.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/feature/codebook/RandomTree.h"
#include "support/CodebookFeatures.h"
#include "support/DescriptorFiles.h"
#include "support/Matrices.h"
#include "support/PhotoRuns.h"
#include "support/TableFiles.h"

using namespace TestSupport;
using namespace Tavlin::Core::Feature;

namespace
{

class QuantizerRun : public PhotoRun
{
protected:
    void SetUp() override
    {
        // The points and descriptors of the image, without a codebook.
        RunResult plain = Run({});
        ASSERT_EQ(plain.status, 0) << plain.out;
        points = ReadDescriptorFile(dir.File("o.bin"));
        ASSERT_TRUE(points.points && points.vectors);
        ASSERT_GT(points.vectors->mHeight, 20);
        ASSERT_EQ(points.vectors->mWidth, 128);
        ASSERT_EQ(remove(dir.File("o.bin").c_str()), 0);
    }

    const double* Descriptor(long long i) const { return points.vectors->mData + i * 128; }

    DescriptorFile points;
};

// The forest of the forest run: tree A on element 0 over leaves 0 and 1; tree B on
// element 5 over (element 9 over leaves 2 and 3) and leaf 4. Thresholds are the means
// of the image's values, so that every leaf gets points.
std::vector<RandomTree*> MakeForest(const DescriptorFile& points)
{
    auto mean = [&](int k) {
        double sum = 0;
        for (long long i = 0; i < points.vectors->mHeight; ++i)
            sum += points.vectors->mData[i * 128 + k];
        return sum / static_cast<double>(points.vectors->mHeight);
    };
    return {new RandomTree(0, mean(0), new RandomTree(0), new RandomTree(1)),
            new RandomTree(5, mean(5), new RandomTree(9, mean(9), new RandomTree(2), new RandomTree(3)),
                           new RandomTree(4))};
}

// The forest as a table file.
std::string ForestFile(const std::vector<RandomTree*>& forest)
{
    RandomTreeTable table;
    for (RandomTree* tree : forest)
        Write(tree, &table);
    std::unique_ptr<FeatureTable> features(MakeFeatureTable(&table));
    return TableFileOf(*features);
}

} // namespace

TEST_F(QuantizerRun, ClosestWord5WritesEachPointWithItsFiveNearestWords)
{
    MatrixPtr words = SiftWords(12, 128, 23);
    WriteRawFile(dir.File("Codebooks/words.codebook.raw"), {words.get()});
    RunResult run = Run({"--codebook", "Codebooks/words.codebook.raw", "--codebookName", "words", "--codebookMode",
                         "closestword5"});
    ASSERT_EQ(run.status, 0) << run.out;
    DescriptorFile out = ReadDescriptorFile(dir.File("o.bin"));
    ASSERT_TRUE(out.points && out.vectors);
    const long long n = points.vectors->mHeight;
    ASSERT_EQ(out.vectors->mHeight, n);
    ASSERT_EQ(out.vectors->mWidth, 5);
    for (long long i = 0; i < n; ++i)
    {
        // The point's own position, the other point columns 0.
        EXPECT_EQ(out.points->mData[5 * i], points.points->mData[5 * i]) << i;
        EXPECT_EQ(out.points->mData[5 * i + 1], points.points->mData[5 * i + 1]) << i;
        for (int c = 2; c < 5; ++c)
            EXPECT_EQ(out.points->mData[5 * i + c], 0.0) << i;
        // The five nearest words by squared distances summed here.
        std::vector<std::pair<double, int>> ranked;
        for (int j = 0; j < 12; ++j)
        {
            double sum = 0;
            for (int k = 0; k < 128; ++k)
            {
                const double d = Descriptor(i)[k] - words->mData[j * 128 + k];
                sum += d * d;
            }
            ranked.emplace_back(sum, j);
        }
        std::sort(ranked.begin(), ranked.end());
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(out.vectors->mData[5 * i + k], ranked[k].second) << i << " " << k;
    }

    // "closestword": the nearest word alone, in the text form.
    RunResult one = Run({"--codebook", "Codebooks/words.codebook.raw", "--codebookName", "words", "--codebookMode",
                         "closestword", "--output", "o.txt", "--outputFormat", "text"});
    ASSERT_EQ(one.status, 0) << one.out;
    DescriptorFile text = ReadDescriptorFile(dir.File("o.txt"));
    ASSERT_TRUE(text.vectors);
    ASSERT_EQ(text.vectors->mHeight, n);
    ASSERT_EQ(text.vectors->mWidth, 1);
    for (long long i = 0; i < n; ++i)
        EXPECT_EQ(text.vectors->mData[i], out.vectors->mData[5 * i]) << i;
    EXPECT_TRUE(Has(ReadTextFile(dir.File("o.txt")), "VESK1\n1\n"));
}

TEST_F(QuantizerRun, ForestRowsCountTheLeavesOfEveryTreeAndSumToOne)
{
    std::vector<RandomTree*> forest = MakeForest(points);
    WriteTextFile(dir.File("forest.tab"), ForestFile(forest));

    RunResult run = Run({"--codebook", "forest.tab", "--codebookMode", "forest", "--pointSelector", "pyramid-1x1-2x2"});
    ASSERT_EQ(run.status, 0) << run.out;
    DescriptorFile out = ReadDescriptorFile(dir.File("o.bin"));
    ASSERT_TRUE(out.points && out.vectors);
    ASSERT_EQ(out.vectors->mHeight, 5);
    ASSERT_EQ(out.vectors->mWidth, 5);
    for (int r = 0; r < 5; ++r)
    {
        double sum = 0;
        for (int k = 0; k < 5; ++k)
            sum += out.vectors->mData[5 * r + k];
        EXPECT_NEAR(sum, 1.0, 1e-12) << r;
        EXPECT_EQ(RowValues(*out.points, r), (std::vector<double>{1, 1, 0, 0, 0}));
    }

    // The whole image: each tree votes once per point.
    const long long n = points.vectors->mHeight;
    std::vector<double> votes(5, 0.0);
    for (long long i = 0; i < n; ++i)
    {
        std::vector<double> x(Descriptor(i), Descriptor(i) + 128);
        const Tavlin::Core::Vector::VectorTem<double> view(128, x.data(), true);
        for (RandomTree* tree : forest)
            votes[tree->GetCodeWord(view)] += 1.0;
    }
    for (int k = 0; k < 5; ++k)
    {
        EXPECT_GT(votes[k], 0.0) << k;
        EXPECT_NEAR(out.vectors->mData[k], votes[k] / (2.0 * n), 1e-15) << k;
    }
    DeleteForest(forest);
}

TEST_F(QuantizerRun, UnusableCodebooksEndTheRunBeforeAnyImage)
{
    auto refused = [&](const std::vector<std::string>& more, const std::string& message) {
        remove(dir.File("o.bin").c_str());
        RunResult run = Run(more);
        EXPECT_EQ(run.status, 1) << message;
        EXPECT_TRUE(Has(run.out, message));
        EXPECT_FALSE(Has(run.out, "Completed"));
        EXPECT_FALSE(PathExists(dir.File("o.bin"))) << message;
    };

    // A forest table whose second tree lacks its right subtree.
    std::unique_ptr<FeatureTable> cut(
        MakeFeatureTable(ForestTable({{0, -1, -1.0}, {-1, 3, 0.5}, {1, -1, -1.0}}).get()));
    WriteTextFile(dir.File("cut.tab"), TableFileOf(*cut));
    refused({"--codebook", "cut.tab", "--codebookMode", "forest"}, "parse error in Read(RandomTreeTable*,int)");

    // Empty, truncated and garbage files.
    std::vector<RandomTree*> forest = MakeForest(points);
    const std::string whole = ForestFile(forest);
    DeleteForest(forest);
    WriteTextFile(dir.File("empty.tab"), "");
    WriteTextFile(dir.File("short.tab"), whole.substr(0, whole.size() - 40));
    std::string garbage;
    for (int i = 0; i < 3000; ++i)
        garbage += static_cast<char>((i * 7919) % 251);
    WriteTextFile(dir.File("garbage.tab"), garbage);
    for (const char* name : {"empty.tab", "short.tab", "garbage.tab"})
        refused({"--codebook", name, "--codebookMode", "forest"}, "ERROR");

    // A codebook that is no forest: a raw array has no table to read.
    MatrixPtr words = SiftWords(4, 128, 23);
    WriteRawFile(dir.File("Codebooks/four.codebook.raw"), {words.get()});
    refused({"--codebook", "Codebooks/four.codebook.raw", "--codebookMode", "forest"},
            "Mode forest needs the codebook as a table file");
    // Four words are too few for five, and kdhard is not in this build.
    refused({"--codebook", "Codebooks/four.codebook.raw", "--codebookName", "four", "--codebookMode", "closestword5"},
            "A codebook of 4 words can not give the 5 closest words");
    refused({"--codebook", "Codebooks/four.codebook.raw", "--codebookName", "four", "--codebookMode", "kdhard"},
            "Option not compiled in: kdhard");
}
