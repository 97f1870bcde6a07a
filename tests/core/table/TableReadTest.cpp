#include "core/table/Read.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/feature/FeatureTable.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/MemoryBuffer.h"
#include "support/TableFiles.h"

using Tavlin::Quid;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::FeatureTable;
using Tavlin::Core::Table::Read;
using Tavlin::Util::IOBuffer;
using namespace TestSupport;

namespace
{

std::unique_ptr<FeatureTable> EmptyTable()
{
    return std::unique_ptr<FeatureTable>(new FeatureTable(FeatureDefinition(""), 0, 1));
}

const std::vector<double> kSix = {1, 2, 3, 4, 5, 6};
const std::vector<double> kValues = {0.5, 1, 2, 3, -4, 5, 6.25, 7, 8, 9, 10, 1e300};

} // namespace

TEST(TableRead, NewFormNamesInfoQuidsAndVectors)
{
    const std::string columns = QuidVectorColumns({10, 11, 12}, {20, 21, 22}, 4, kValues);
    auto buffer = MemoryBufferOf(NewFormTable("tavlintableversion: 2, columns: 2, size: 3\ncolumn1: object\n"
                                         "column2: sift\nodd: skipped\ninfo: trained on 40 images\n",
                                         columns));
    auto table = EmptyTable();
    LogCapture log("Tavlin.Core.Table.Read");
    ASSERT_TRUE(Read(table.get(), buffer.get()));
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(table->Size(), 3);
    EXPECT_EQ(table->mColumnNames, (std::vector<std::string>{"object", "sift"}));
    EXPECT_EQ(table->mInfo, "trained on 40 images");
    EXPECT_EQ(table->GetQuid(0), Quid(10, 20));
    EXPECT_EQ(table->GetQuid(2), Quid(12, 22));
    EXPECT_EQ(table->GetVectorLength(), 4);
    EXPECT_EQ(table->GetVector(1)[0], -4);
    EXPECT_EQ(table->GetVector(2)[3], 1e300);
    EXPECT_EQ(buffer->GetPosition(), 1152 + 200 + 48 + 200 + 96);

    // Only the version line: names and info stay as they were.
    auto bare = EmptyTable();
    bare->mColumnNames = {"a", "b"};
    auto bareFile = MemoryBufferOf(NewFormTable("tavlintableversion: 2, columns: 2, size: 3\n", columns));
    ASSERT_TRUE(Read(bare.get(), bareFile.get()));
    EXPECT_EQ(bare->mColumnNames, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(bare->mInfo, "no info");

    // One column asked for: the stream stops behind column 1, the vectors stay as they were.
    auto quidsOnly = EmptyTable();
    buffer->Rewind();
    ASSERT_TRUE(Read(quidsOnly.get(), buffer.get(), 1));
    EXPECT_EQ(buffer->GetPosition(), 1152 + 200 + 48);
    EXPECT_EQ(quidsOnly->Size(), 3);
    EXPECT_EQ(quidsOnly->GetQuid(1), Quid(11, 21));
    EXPECT_EQ(quidsOnly->GetVectorLength(), 1);

    // The reader starts where the buffer stands.
    auto shifted = MemoryBufferOf("xyz" + NewFormTable("tavlintableversion: 2, columns: 2, size: 3\n", columns));
    shifted->SetPosition(3);
    auto later = EmptyTable();
    ASSERT_TRUE(Read(later.get(), shifted.get()));
    EXPECT_EQ(later->GetQuid(2), Quid(12, 22));
}

TEST(TableRead, OldFormAndPackedQuids)
{
    // One 64-bit value a Quid: class, set, object and id packed together.
    const std::vector<uint64_t> packed = {0x0102030405060708ULL, 0x0000000080000001ULL, 7};
    const std::string columns =
        RawColumn("uint64", 3, 1, BytesOf(packed)) + RawColumn("real64", 2, 3, BytesOf(kSix));
    auto buffer = MemoryBufferOf("Tavlin::Table old\nmy codebook\nobject\nvalues\n\n\n\n\n\n\n\n" + columns);
    auto table = EmptyTable();
    LogCapture log("Tavlin.Core.Table.Read");
    ASSERT_TRUE(Read(table.get(), buffer.get()));
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(table->mInfo, "my codebook");
    ASSERT_EQ(table->mColumnNames.size(), 9u);
    EXPECT_EQ(table->mColumnNames[1], "values");
    EXPECT_EQ(table->mColumnNames[8], "");
    ASSERT_EQ(table->Size(), 3);
    EXPECT_EQ(table->GetQuid(0), Quid(0x0000020000000304ULL, 0x0100000005060708ULL));
    EXPECT_EQ(table->GetQuid(0).GetClass(), 1);
    EXPECT_EQ(table->GetQuid(0).GetSet(), 2u);
    EXPECT_EQ(table->GetQuid(0).GetObject(), 0x304u);
    EXPECT_EQ(table->GetQuid(1), Quid(0, 0xffffffff80000001ULL)); // the low half is sign-extended
    EXPECT_EQ(table->GetQuid(2), Quid(0, 7));
    EXPECT_EQ(table->GetVector(2)[1], 6);

    // Two letters in common with the old magic are not enough: the block is parsed as new.
    auto near = EmptyTable();
    LogCapture nearLog("Tavlin.Core.Table.Read");
    EXPECT_FALSE(Read(near.get(), MemoryBufferOf("Tavlin::Tab\n" + columns).get()));
    EXPECT_EQ(nearLog.Text(), "Header is not compatible: res==0 (should be 2), size==0, columns==0, startPos==0\n");
}

TEST(TableRead, SizeMismatchesAreReportedAndTheSizeStaysWithinTheColumns)
{
    const struct
    {
        std::string header;
        size_t vectors;
        int size;
        std::string messages;
    } cases[] = {
        {"size: 3", 3, 3, ""},
        {"size: 5", 3, 3, "col1 has different size than header\ncol2 has different size than col1\n"},
        {"size: 2000000000", 3, 3, "col1 has different size than header\ncol2 has different size than col1\n"},
        {"size: -4", 3, 0, "col1 has different size than header\ncol2 has different size than col1\n"},
        {"size: 3", 2, 2, "col2 has different size than col1\n"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.header);
        std::vector<double> values(kValues.begin(), kValues.begin() + 4 * c.vectors);
        auto table = EmptyTable();
        LogCapture log("Tavlin.Core.Table.Read");
        EXPECT_EQ(Read(table.get(), MemoryBufferOf(NewFormTable("tavlintableversion: 2, columns: 2, " + c.header + "\n",
                                                           QuidVectorColumns({1, 2, 3}, {4, 5, 6}, 4, values)))
                                        .get()),
                  c.messages.empty());
        EXPECT_EQ(log.Text(), c.messages);
        EXPECT_EQ(table->Size(), c.size);
    }
    LogCapture log("Tavlin.Core.Table.Read");
    EXPECT_FALSE(Read(static_cast<FeatureTable*>(nullptr), MemoryBufferOf("x").get()));
    EXPECT_EQ(log.Text(), "No table\n");
}

TEST(TableRead, MalformedFilesEndWithAMessage)
{
    const std::string columns = QuidVectorColumns({1, 2, 3}, {4, 5, 6}, 4, kValues);
    const std::string files[] = {
        NewFormTable("tavlintableversion: 2, columns: 2, size: 3\ncolumn1: object\n", columns),
        "Tavlin::Table\ninfo\nobject\nvalues\n\n\n\n\n\n\n\n" + columns,
    };
    // Every prefix of both forms: a message, a size within what arrived, no crash.
    for (const std::string& file : files)
        for (size_t cut = 0; cut < file.size() - 1; ++cut)
        {
            SCOPED_TRACE(cut);
            auto table = EmptyTable();
            LogCapture log("Tavlin.Core.Table.Read");
            LogCapture rawLog("Tavlin.Core.Array.ReadRaw");
            LogCapture headerLog("Tavlin.Core.Array.ReadRawHeader");
            EXPECT_FALSE(Read(table.get(), MemoryBufferOf(file.substr(0, cut)).get()));
            EXPECT_NE(log.Text() + rawLog.Text() + headerLog.Text(), "");
            EXPECT_LE(table->Size(), table->Capacity());
            EXPECT_LE(table->Size(), table->mColumn2.Capacity());
        }

    const struct
    {
        std::string bytes, message;
    } cases[] = {
        {"", "Header is not compatible: res==-1 (should be 2), size==0, columns==0, startPos==0\n"},
        {std::string(3000, '\x9c'),
         "Header is not compatible: res==0 (should be 2), size==0, columns==0, startPos==0\n"},
        {"tavlintableversion: 3, columns: 2, size: 3\n",
         "Header is not compatible: res==0 (should be 2), size==0, columns==0, startPos==0\n"},
        // Absurd column sizes are refused before anything is allocated.
        {NewFormTable("tavlintableversion: 2, columns: 2, size: 3\n", RawColumn("uint64", 1000000000000, 2, "")),
         "[Read] col1 could not be read\n"},
        {NewFormTable("tavlintableversion: 2, columns: 2, size: 3\n",
                 RawColumn("uint64", 3, 7, std::string(168, '\0'))),
         "[Read] col1 is 3 x 7, not one or two rows of Quids\n"},
        {NewFormTable("tavlintableversion: 2, columns: 2, size: 1\n",
                 RawColumn("uint64", 1, 1, std::string(8, '\0')) + RawColumn("real64", 3000000000, 3000000000, "")),
         "[Read] col2 could not be read\n"},
    };
    for (const auto& c : cases)
    {
        auto table = EmptyTable();
        LogCapture log("Tavlin.Core.Table.Read");
        EXPECT_FALSE(Read(table.get(), MemoryBufferOf(c.bytes).get()));
        EXPECT_EQ(log.Text(), c.message);
    }
}
