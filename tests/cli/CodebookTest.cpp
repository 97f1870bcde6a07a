// End-to-end codebook loading: `lumisk nil --codebook <file>` for every stored form,
// the reduction matrix, and the files that cannot serve as a codebook.
#include <gtest/gtest.h>

#include <string>

#include "support/DescriptorFiles.h"
#include "support/TableFiles.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

// Files of the same eight words of 16 values, in each form the loader accepts.
void WriteCodebooks(const TempDir& dir)
{
    MatrixPtr words = RandomMatrix(8, 16, 3);
    MatrixPtr points = MatrixOf(8, 5);
    WriteRawFile(dir.File("cb.raw"), {words.get()});
    WriteRawFile(dir.File("cb.zlib.raw"), {words.get()}, 3);
    WriteDescriptorFile(dir.File("cb.txt"), points, words, false);
    WriteDescriptorFile(dir.File("cb.bin"), points, words, true);
    std::vector<double> values(words->mData, words->mData + 8 * 16);
    WriteTextFile(dir.File("cb.tab"), NewFormTable(8, 16, values));
}

} // namespace

TEST(CodebookLoading, EveryStoredFormLoadsWithoutAnImage)
{
    TempDir dir;
    WriteCodebooks(dir);
    for (const char* name : {"cb.raw", "cb.zlib.raw", "cb.txt", "cb.bin", "cb.tab"})
    {
        SCOPED_TRACE(name);
        RunResult run = RunLumisk({"nil", "--codebook", name}, dir.Path());
        EXPECT_EQ(run.status, 0);
        EXPECT_TRUE(Has(run.out, "INFO  [Sandbox.vesk.mainLumisk ] Loaded codebook at 0h0m"));
        EXPECT_TRUE(Has(run.out, "Completed in "));
        EXPECT_EQ(ReadTextFile(dir.File("errors.log")), "");
    }

    // A reduction matrix is read like a codebook, and only with one.
    RunResult reduced = RunLumisk({"nil", "--codebook", "cb.tab", "--descriptorReduce", "cb.bin"}, dir.Path());
    EXPECT_EQ(reduced.status, 0);
    EXPECT_TRUE(Has(reduced.out, "Loaded codebook at "));
    EXPECT_EQ(RunLumisk({"nil", "--descriptorReduce", "none.raw"}, dir.Path()).status, 0);
}

TEST(CodebookLoading, MissingAndUnreadableFilesEndTheRunBeforeAnyImage)
{
    TempDir dir;
    WriteCodebooks(dir);
    WriteTextFile(dir.File("garbage.raw"), std::string(3000, 'g'));
    WriteTextFile(dir.File("empty.raw"), "");
    const std::string raw = ReadTextFile(dir.File("cb.raw"));
    WriteTextFile(dir.File("short.raw"), raw.substr(0, raw.size() - 9));
    const std::string text = ReadTextFile(dir.File("cb.txt"));
    WriteTextFile(dir.File("short.txt"), text.substr(0, text.size() / 2));
    WriteTextFile(dir.File("words.txt"), "VESK1\n3\n0\n");

    RunResult missing = RunLumisk({"nil", "--codebook", "none.raw"}, dir.Path());
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.out, "ERROR [Sandbox.vesk.mainLumisk ] SetCodebook: IOBuffer is 0"));
    EXPECT_TRUE(Has(missing.out, "[ERROR] Could not read a codebook with words from none.raw"));
    EXPECT_EQ(CountOf(missing.out, "Loaded codebook at "), 0);
    EXPECT_EQ(CountOf(missing.out, "Completed in "), 0);

    for (const char* name : {"garbage.raw", "empty.raw", "short.raw", "short.txt", "words.txt"})
    {
        SCOPED_TRACE(name);
        RunResult run = RunLumisk({"nil", "--codebook", name}, dir.Path());
        EXPECT_EQ(run.status, 1);
        EXPECT_TRUE(Has(run.out, std::string("[ERROR] Could not read a codebook with words from ") + name));
        EXPECT_TRUE(Has(ReadTextFile(dir.File("errors.log")), "Could not read a codebook"));
    }

    RunResult reduce = RunLumisk({"nil", "--codebook", "cb.raw", "--descriptorReduce", "none.raw"}, dir.Path());
    EXPECT_EQ(reduce.status, 1);
    EXPECT_TRUE(Has(reduce.out, "ERROR [Sandbox.vesk.mainLumisk ] SetCodebook-reduce: IOBuffer is 0"));
    EXPECT_TRUE(Has(reduce.out, "[ERROR] Could not read the descriptorReduce matrix from none.raw"));

    // Exit-on-error ends the run at the first message.
    RunResult early = RunLumisk({"nil", "--exitOnErrorLogged", "--codebook", "none.raw"}, dir.Path());
    EXPECT_EQ(early.status, 42);
    EXPECT_EQ(CountOf(early.out, "SetCodebook: IOBuffer is 0"), 0);

    // The forest reads the codebook file as a table too: a raw array will not do.
    EXPECT_EQ(RunLumisk({"nil", "--codebook", "cb.raw", "--codebookMode", "forest"}, dir.Path()).status, 1);
}
