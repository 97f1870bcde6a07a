#include "core/feature/codebook/ReadCodebook.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/array/WriteRaw.h"
#include "core/feature/PointDescriptorIO.h"
#include "core/feature/codebook/GetCodebookLength.h"
#include "core/feature/codebook/TakeLastMatrix.h"
#include "core/matrix/MatList.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/Matrices.h"
#include "support/MemoryBuffer.h"
#include "support/SyntheticImage.h"
#include "support/TableFiles.h"
#include "support/TestSupport.h"

using Tavlin::Quid;
using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Util::IOBuffer;
using namespace Tavlin::Core::Feature;
using namespace TestSupport;

namespace
{

const char* const kLog = "Tavlin.Core.Feature.ReadCodebookFromBuffer";

// The bytes a writer leaves in a memory buffer.
template <class Writer>
std::string Written(Writer write)
{
    IOBuffer buffer(1 << 22);
    write(buffer);
    return BufferBytes(buffer, 0, buffer.GetPosition());
}

std::string RawBytes(Array2dReal64* m, int binary)
{
    return Written([&](IOBuffer& b) { Tavlin::Core::Array::WriteRaw(m, &b, binary); });
}

std::string DescriptorBytes(Array2dReal64* words, bool binary)
{
    MatrixPtr points = MatrixOf(static_cast<int>(words->Height()), 5);
    for (long long i = 0; i < words->Height(); ++i)
        points->PixelPtr(0, i)[0] = static_cast<double>(i);
    return Written([&](IOBuffer& b) {
        if (binary)
            WriteBINDESC1ToBuffer(&b, points.get(), words, "CIRCLE  ");
        else
            WriteVESK1ToBuffer(&b, points.get(), words, "CIRCLE");
    });
}

MatrixPtr ReadFrom(const std::string& bytes)
{
    return MatrixPtr(ReadCodebookFromBuffer(MemoryBufferOf(bytes).get()));
}

// Words whose values six significant digits keep exactly.
MatrixPtr Words(int rows, int cols)
{
    MatrixPtr m = MatrixOf(rows, cols);
    for (int i = 0; i < rows * cols; ++i)
        m->mData[i] = (i % 97) * 0.25 - 7;
    return m;
}

} // namespace

TEST(ReadCodebookFromBuffer, EveryStoredFormGivesTheWords)
{
    MatrixPtr words = RandomMatrix(5, 3, 7);
    EXPECT_TRUE(SameImage(ReadFrom(RawBytes(words.get(), 1)).get(), words.get()));
    EXPECT_TRUE(SameImage(ReadFrom(RawBytes(words.get(), 3)).get(), words.get()));
    EXPECT_TRUE(SameImage(ReadFrom(DescriptorBytes(words.get(), true)).get(), words.get()));

    // A text descriptor file of 100 points: 100 words; the points' type is not looked at.
    MatrixPtr many = Words(100, 128);
    std::string text = DescriptorBytes(many.get(), false);
    ASSERT_GT(text.size(), 2048u);
    MatrixPtr fromText = ReadFrom(text);
    EXPECT_TRUE(SameImage(fromText.get(), many.get()));
    size_t type = text.find("<CIRCLE");
    text.replace(type, 7, "<SQUARE");
    EXPECT_TRUE(SameImage(ReadFrom(text).get(), many.get()));

    // A table file: the vector column, the Quids dropped.
    const std::vector<double> values = {1, 2, 3, 4, 5, 6};
    MatrixPtr fromTable = ReadFrom(NewFormTable(3, 2, values));
    EXPECT_TRUE(SameImage(fromTable.get(), MatrixOf(3, 2, values).get()));

    // Files far shorter than the 2048 bytes looked at are sniffed by what they have.
    MatrixPtr one = MatrixOf(1, 1, {42});
    std::string tiny = RawBytes(one.get(), 1);
    ASSERT_EQ(tiny.size(), 208u);
    EXPECT_TRUE(SameImage(ReadFrom(tiny).get(), one.get()));
    std::string tinyText = DescriptorBytes(one.get(), false);
    ASSERT_LT(tinyText.size(), 40u);
    EXPECT_TRUE(SameImage(ReadFrom(tinyText).get(), one.get()));

    // Reading starts at the buffer's beginning, wherever it stands.
    auto buffer = MemoryBufferOf(RawBytes(words.get(), 1));
    buffer->SetPosition(150);
    EXPECT_TRUE(SameImage(MatrixPtr(ReadCodebookFromBuffer(buffer.get())).get(), words.get()));
}

TEST(ReadCodebookFromBuffer, TruncatedEmptyAndGarbageFilesGiveNullWithAMessage)
{
    MatrixPtr words = Words(3, 4);
    const std::string files[] = {RawBytes(words.get(), 1), RawBytes(words.get(), 3), DescriptorBytes(words.get(), true),
                                 DescriptorBytes(words.get(), false), NewFormTable(3, 4, std::vector<double>(12, 1))};
    for (const std::string& file : files)
        for (size_t cut = 0; cut + 1 < file.size(); ++cut)
        {
            SCOPED_TRACE(file.substr(0, 8) + " cut at " + std::to_string(cut));
            LogCapture log(kLog);
            EXPECT_FALSE(ReadFrom(file.substr(0, cut)));
            EXPECT_NE(log.Text(), "");
        }

    LogCapture log(kLog);
    EXPECT_FALSE(ReadCodebookFromBuffer(nullptr));
    EXPECT_FALSE(ReadFrom(std::string(5000, 'z')));
    EXPECT_FALSE(ReadFrom("VESK1\n4\n1000000000\n"));
    EXPECT_FALSE(ReadFrom("BINDESC1garbage"));
    EXPECT_FALSE(ReadFrom(RawArrayFileBytes("version: 1, binary: 1, type: real64, elemSize: 1, width: 100000, "
                                            "height: 100000, nr: 1")));
    // 67 million words of no values behind points of no values, in 37 bytes.
    EXPECT_FALSE(ReadFrom(
        FuzzFinding("ReadCodebook", "words-of-points-of-no-values.bin")));
    // 355 million words of no values in a raw array header of 106 bytes.
    EXPECT_FALSE(ReadFrom(FuzzFinding("ReadCodebook", "raw-words-of-no-values")));
    EXPECT_EQ(log.Text(), "[ReadCodebookFromBuffer] IOBuffer is 0\n"
                          "[ReadCodebookTable] not a readable table file\n"
                          "[ReadCodebookFromBuffer] descriptor file without readable descriptors\n"
                          "[ReadCodebookFromBuffer] descriptor file without readable descriptors\n"
                          "[ReadCodebookFromBuffer] raw array could not be read whole\n"
                          "[ReadCodebookFromBuffer] descriptor file without readable descriptors\n"
                          "[ReadCodebookFromBuffer] raw array of 355555470 words without values\n");
}

TEST(ReadCodebookTable, KeepsQuidsAndVectorsForTheForest)
{
    auto buffer = MemoryBufferOf(NewFormTable(4, 2, {1, 2, 3, 4, 5, 6, 7, 8}));
    std::unique_ptr<FeatureTable> table(ReadCodebookTable(buffer.get()));
    ASSERT_TRUE(table);
    EXPECT_EQ(table->Size(), 4);
    EXPECT_EQ(table->GetQuid(3), Quid(0, 3));
    EXPECT_EQ(table->GetVector(3)[1], 8);
    EXPECT_EQ(table->mColumnNames, (std::vector<std::string>{"object", "values"}));
    EXPECT_EQ(GetCodebookLength(table.get()), 4);

    // Not the size but the last row's id decides; an empty table is refused.
    table->mColumn1.mData[3] = Quid(0, 9);
    EXPECT_EQ(GetCodebookLength(table.get()), 10);
    FeatureTable empty(FeatureDefinition("words"), 0, 5);
    LogCapture log("Tavlin.Core.Feature.GetCodebookLength");
    EXPECT_EQ(GetCodebookLength(&empty), 0);
    EXPECT_EQ(log.Text(), "[GetCodebookLength] empty codebook table\n");
    // A table file whose last word is the largest int (found by fuzzing) has no count.
    std::unique_ptr<FeatureTable> largest(ReadCodebookTable(MemoryBufferOf(
        FuzzFinding("RandomForest", "last-word-2147483647")).get()));
    ASSERT_TRUE(largest);
    EXPECT_EQ(GetCodebookLength(largest.get()), 0);
    EXPECT_NE(log.Text().find("[GetCodebookLength] last code word 2147483647 leaves no room for a count\n"),
              std::string::npos);

    MatrixPtr words = Words(2, 2);
    LogCapture tableLog(kLog);
    EXPECT_FALSE(ReadCodebookTable(MemoryBufferOf(RawBytes(words.get(), 1)).get()));
    EXPECT_EQ(tableLog.Text(), "[ReadCodebookTable] not a readable table file\n");
}

TEST(ReadCodebook_MatToFeatureTable, OneRowPerWordNumberedByItsIndex)
{
    MatrixPtr words = MatrixOf(3, 2, {1, 2, 3, 4, 5, 6});
    std::unique_ptr<FeatureTable> table(ReadCodebook_MatToFeatureTable(words.get()));
    ASSERT_TRUE(table);
    ASSERT_EQ(table->Size(), 3);
    EXPECT_EQ(table->GetVectorLength(), 2);
    EXPECT_EQ(table->GetQuid(2).GetObject(), 2u);
    words->mData[5] = -1; // the table holds a copy
    EXPECT_EQ(table->GetVector(2)[1], 6);

    MatrixPtr none = MatrixOf(0, 4);
    std::unique_ptr<FeatureTable> empty(ReadCodebook_MatToFeatureTable(none.get()));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->Size(), 0);
    LogCapture log(kLog);
    EXPECT_FALSE(ReadCodebook_MatToFeatureTable(nullptr));
    EXPECT_EQ(log.Text(), "[ReadCodebook_MatToFeatureTable] no matrix\n");
}

TEST(TakeLastMatrix, KeepsTheLastAndReleasesTheRest)
{
    Tavlin::Core::Matrix::MatList* list = new Tavlin::Core::Matrix::MatList();
    for (int i = 1; i <= 3; ++i)
        list->push_back(MatrixOf(1, 1, {static_cast<double>(i)}).release());
    MatrixPtr last(TakeLastMatrix(list));
    ASSERT_TRUE(last);
    EXPECT_EQ(last->mData[0], 3);
    EXPECT_FALSE(TakeLastMatrix(new Tavlin::Core::Matrix::MatList()));
    EXPECT_FALSE(TakeLastMatrix(nullptr));
}
