// End-to-end runs of lumisk-train: codebooks, Gaussian mixtures and residual
// statistics trained from descriptor files, written where lumisk looks for them, and
// used by every projection mode that reads them; every refused input ends with status
// 1, a message and no file.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "core/array/ReadRaw.h"
#include "support/DescriptorFiles.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"
#include "util/IOBufferFile.h"

using namespace TestSupport;
using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Util::IOBuffer;
using Tavlin::Util::IOBufferFile;

namespace
{

// Descriptors around three centres far apart, `first` to `first + count`, in the
// binary or the text form.
void WriteClusters(const std::string& path, int first, int count, int length, bool binary)
{
    MatrixPtr points = MatrixOf(count, 5);
    MatrixPtr descriptors = MatrixOf(count, length);
    std::mt19937 generator(static_cast<unsigned>(first + 1));
    std::normal_distribution<double> noise(0.0, 1.0);
    for (int i = 0; i < count; ++i)
        for (int k = 0; k < length; ++k)
            descriptors->mData[i * length + k] = 40.0 * ((first + i) % 3) * (k % 2 ? 1 : -1) + noise(generator);
    WriteDescriptorFile(path, points, descriptors, binary);
}

MatrixPtr ReadRawMatrix(const std::string& path)
{
    std::unique_ptr<IOBuffer> buffer(new IOBufferFile(path, true, false, false));
    Array2dReal64* m = nullptr;
    if (buffer->Valid())
        Tavlin::Core::Array::ReadRaw(m, buffer.get());
    return MatrixPtr(m);
}

} // namespace

TEST(TrainRun, KMeansFindsTheClustersOfSeveralFilesAndRepeatsItsBytes)
{
    TempDir dir;
    WriteClusters(dir.File("a.bin"), 0, 150, 16, true);
    WriteClusters(dir.File("b.txt"), 150, 90, 16, false);
    RunResult run = RunLumiskTrain({"kmeans", "--words", "3", "--codebookName", "cb", "--output", "out.raw", "a.bin",
                                    "b.txt"},
                                   dir.Path());
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_TRUE(Has(run.out, "Wrote out.raw\n"));
    EXPECT_TRUE(Has(run.out, "Wrote Codebooks/cb.codebook.raw\n"));
    EXPECT_TRUE(Has(run.err, "kmeans iteration 1: objective "));
    const std::string bytes = ReadTextFile(dir.File("out.raw"));
    EXPECT_EQ(bytes.compare(0, 30, "version: 3, binary: 1, type: r"), 0);
    EXPECT_EQ(ReadTextFile(dir.File("Codebooks/cb.codebook.raw")), bytes);

    // The words are the three centres (+-40 c in alternate dimensions), in some order.
    MatrixPtr words = ReadRawMatrix(dir.File("out.raw"));
    ASSERT_TRUE(words);
    ASSERT_EQ(words->mHeight, 3);
    ASSERT_EQ(words->mWidth, 16);
    std::vector<int> found(3, 0);
    for (int w = 0; w < 3; ++w)
    {
        const int c = static_cast<int>(std::lround(-words->mData[w * 16] / 40.0));
        ASSERT_TRUE(c >= 0 && c < 3) << words->mData[w * 16];
        ++found[c];
        for (int k = 0; k < 16; ++k)
            EXPECT_NEAR(words->mData[w * 16 + k], 40.0 * c * (k % 2 ? 1 : -1), 0.5);
    }
    EXPECT_EQ(found, std::vector<int>(3, 1));

    // The same inputs and seed give the same bytes, also through a list; a sample
    // of the input still finds the centres.
    WriteTextFile(dir.File("list.txt"), "a.bin\n# comment\n\nb.txt\n");
    ASSERT_EQ(RunLumiskTrain({"kmeans", "--words", "3", "--output", "again.raw", "--batch", "list.txt"}, dir.Path())
                  .status,
              0);
    EXPECT_EQ(ReadTextFile(dir.File("again.raw")), bytes);
    ASSERT_EQ(RunLumiskTrain({"kmeans", "--words", "3", "--seed", "5", "--sample", "60", "--output", "s.raw",
                              "a.bin", "b.txt"},
                             dir.Path())
                  .status,
              0);
    MatrixPtr sampled = ReadRawMatrix(dir.File("s.raw"));
    ASSERT_TRUE(sampled);
    for (int w = 0; w < 3; ++w)
        EXPECT_NEAR(std::fabs(std::remainder(sampled->mData[w * 16], 40.0)), 0.0, 1.0);
}

TEST(TrainRun, TrainedFilesServeEveryModeThatReadsThem)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 64, 48, 9);
    const std::vector<std::string> extract{"photo.jpg", "--detector", "densesampling", "--descriptor", "sift"};
    std::vector<std::string> cluster = extract;
    cluster.insert(cluster.end(), {"--clusterInput", "--output", "train.bin", "--outputFormat", "binary"});
    ASSERT_EQ(RunLumisk(cluster, dir.Path()).status, 0);

    RunResult kmeans = RunLumiskTrain({"kmeans", "--words", "8", "--codebookName", "cb", "train.bin"}, dir.Path());
    ASSERT_EQ(kmeans.status, 0) << kmeans.out;
    RunResult diffstat = RunLumiskTrain({"diffstat", "--codebookName", "cb", "train.bin"}, dir.Path());
    ASSERT_EQ(diffstat.status, 0) << diffstat.out;
    EXPECT_TRUE(Has(diffstat.out, "Wrote Codebooks/cb.diffstat.raw\n"));
    RunResult gmm = RunLumiskTrain({"gmm", "--words", "4", "--iterations", "5", "--codebookName", "cb", "train.bin"},
                                   dir.Path());
    ASSERT_EQ(gmm.status, 0) << gmm.out;
    for (const char* kind : {"gmm-mean", "gmm-var", "gmm-weights"})
        EXPECT_TRUE(Has(gmm.out, std::string("Wrote Codebooks/cb.") + kind + ".raw\n"));

    // Mode, the file that switches projection on, row length.
    const std::string words = "Codebooks/cb.codebook.raw";
    const std::tuple<const char*, std::string, long long> modes[] = {{"sdc", words, 2 * 8 * 128},
                                                                     {"mdc3", words, 3 * 8 * 128},
                                                                     {"fisher", "Codebooks/cb.gmm-mean.raw", 2 * 4 * 128}};
    for (const auto& [mode, codebook, length] : modes)
    {
        SCOPED_TRACE(mode);
        std::vector<std::string> args = extract;
        args.insert(args.end(), {"--output", "o.bin", "--outputFormat", "binary", "--codebook", codebook,
                                 "--codebookName", "cb", "--codebookMode", mode});
        RunResult run = RunLumisk(args, dir.Path());
        ASSERT_EQ(run.status, 0) << run.out;
        DescriptorFile out = ReadDescriptorFile(dir.File("o.bin"));
        ASSERT_TRUE(out.vectors);
        EXPECT_EQ(out.vectors->mHeight, 1);
        EXPECT_EQ(out.vectors->mWidth, length);
        double sum = 0;
        for (long long k = 0; k < out.vectors->mWidth; ++k)
        {
            ASSERT_TRUE(std::isfinite(out.vectors->mData[k])) << k;
            sum += std::fabs(out.vectors->mData[k]);
        }
        EXPECT_GT(sum, 0.0);
    }
}

TEST(TrainRun, RefusedInputEndsWithStatusOneAMessageAndNoFile)
{
    TempDir dir;
    WriteClusters(dir.File("a.bin"), 0, 20, 8, true);
    WriteClusters(dir.File("long.bin"), 0, 20, 12, true);
    WriteTextFile(dir.File("empty.bin"), "");
    WriteTextFile(dir.File("junk.bin"), "no descriptors here\n");
    WriteDescriptorFile(dir.File("zero.bin"), MatrixOf(0, 5), nullptr, true);
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"kmeans", "--words", "2", "--output", "x.raw"}, "No input"},
        {{"kmeans", "--words", "2", "--output", "x.raw", "--batch", "missing.txt"}, "Cannot read the list"},
        {{"kmeans", "--words", "2", "--output", "x.raw", "missing.bin"}, "Cannot read descriptors from missing.bin"},
        {{"kmeans", "--words", "2", "--output", "x.raw", "empty.bin"}, "empty.bin"},
        {{"kmeans", "--words", "2", "--output", "x.raw", "junk.bin"}, "junk.bin"},
        {{"kmeans", "--words", "2", "--output", "x.raw", "zero.bin"}, "zero.bin"},
        {{"kmeans", "--words", "2", "--output", "x.raw", "a.bin", "long.bin"}, "all descriptors must have one length"},
        {{"kmeans", "--words", "21", "--output", "x.raw", "a.bin"}, "--words 21 is larger than the number of descriptors, 20"},
        {{"gmm", "--words", "21", "--codebookName", "x", "a.bin"}, "--words 21 is larger"},
        {{"kmeans", "--output", "x.raw", "a.bin"}, "kmeans needs --words K"},
        {{"gmm", "--codebookName", "x", "a.bin"}, "gmm needs --words K"},
        {{"kmeans", "--words", "0", "--output", "x.raw", "a.bin"}, "--words must be at least 1"},
        {{"kmeans", "--words", "2", "a.bin"}, "Nothing to write"},
        {{"diffstat", "--codebookName", "x", "a.bin"}, "Could not read a codebook"},
        {{"diffstat", "--codebookName", "x", "--codebook", "long.bin", "a.bin"}, "for a codebook of length 12"},
        {{"cluster", "a.bin"}, "Unknown command cluster"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.second);
        RunResult run = RunLumiskTrain(c.first, dir.Path());
        EXPECT_EQ(run.status, 1);
        EXPECT_TRUE(Has(run.out, "ERROR"));
        EXPECT_TRUE(Has(run.out, c.second));
        EXPECT_FALSE(PathExists(dir.File("x.raw")));
        EXPECT_FALSE(PathExists(dir.File("Codebooks/x.codebook.raw")));
        EXPECT_FALSE(PathExists(dir.File("Codebooks/x.gmm-mean.raw")));
        EXPECT_FALSE(PathExists(dir.File("Codebooks/x.diffstat.raw")));
    }
    // With exit-on-error the same refusal gives 42.
    EXPECT_EQ(RunLumiskTrain({"kmeans", "--exitOnErrorLogged", "--words", "2", "--output", "x.raw"}, dir.Path()).status,
              42);
}
