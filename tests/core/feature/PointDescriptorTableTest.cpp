#include "core/feature/PointDescriptorTable.h"

#include <gtest/gtest.h>

#include <memory>

#include "persistency/RepositoryInFileSystem.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::PointDescriptorTable;

namespace
{
std::unique_ptr<PointDescriptorTable> Import(const std::string& path, int offset)
{
    Tavlin::Persistency::File in = Tavlin::Persistency::RepositoryGetFile(path, false, false);
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer(in.GetReadBuffer());
    return std::unique_ptr<PointDescriptorTable>(
        PointDescriptorTable::ImportFromBuffer(FeatureDefinition("loaded"), buffer.get(), offset));
}
} // namespace

TEST(PointDescriptorTableRows, GrowsByDoublingAndWrapsOnlyRowsInUse)
{
    PointDescriptorTable table(FeatureDefinition(""));
    std::unique_ptr<Tavlin::Core::Array::Array2dReal64> none(table.GetWrappedDescriptorMatrix());
    EXPECT_EQ(none->mHeight, 0);
    std::vector<int> capacities{table.Capacity()};
    for (int i = 0; i < 6; ++i)
    {
        table.AddPoint(i, i, 1, 0, 0);
        capacities.push_back(table.Capacity());
    }
    EXPECT_EQ(capacities, (std::vector<int>{0, 1, 2, 4, 4, 8, 8}));
    EXPECT_EQ(table.Size(), 6);
    EXPECT_EQ(table.X()[5], 5.0);

    table.SetDescriptorLength(3);
    EXPECT_EQ(table.GetDescriptorLength(), 3);
    std::unique_ptr<Tavlin::Core::Array::Array2dReal64> wrapped(table.GetWrappedDescriptorMatrix());
    EXPECT_EQ(wrapped->mWidth, 3);
    EXPECT_EQ(wrapped->mHeight, 6);
    EXPECT_EQ(wrapped->mData, table.GetDescriptor(0));
}

TEST(PointDescriptorTableFiles, ExportAndImportInBothFormatsWithOffsets)
{
    TestSupport::TempDir dir;
    PointDescriptorTable table(FeatureDefinition("sift"));
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(table.AddPoint(i * 1.5, 10.0 - i, 1.2 + i, 0.0, i * 0.25));
    table.SetDescriptorLength(4);
    for (int i = 0; i < 5; ++i)
        for (int k = 0; k < 4; ++k)
            table.GetDescriptor(i)[k] = i * 100 + k;
    for (const char* format : {"", "binary", "bindesc1"})
        for (int offset : {0, 5})
        {
            const std::string path = dir.File(format + std::to_string(offset));
            EXPECT_TRUE(table.ExportToFile(Tavlin::Persistency::RepositoryGetFile(path, true, false), offset, format));
            // Text files are 1-based and shifted by the border: the first point, at 0, 10.
            const std::string first = offset ? "<CIRCLE 6 16 " : "<CIRCLE 1 11 ";
            EXPECT_EQ(TestSupport::ReadTextFile(path).find(first) != std::string::npos, *format == '\0');
            auto back = Import(path, offset);
            ASSERT_TRUE(back) << format;
            ASSERT_EQ(back->Size(), 5);
            ASSERT_EQ(back->GetDescriptorLength(), 4);
            EXPECT_EQ(back->GetFeatureDefinition().name, "loaded");
            for (int i = 0; i < 5; ++i)
            {
                EXPECT_DOUBLE_EQ(back->X()[i], table.X()[i]) << format << offset;
                EXPECT_DOUBLE_EQ(back->Y()[i], table.Y()[i]);
                EXPECT_DOUBLE_EQ(back->Scale()[i], table.Scale()[i]);
                EXPECT_DOUBLE_EQ(back->Cornerness()[i], table.Cornerness()[i]);
                for (int k = 0; k < 4; ++k)
                    EXPECT_EQ(back->GetDescriptor(i)[k], table.GetDescriptor(i)[k]);
            }
        }

    PointDescriptorTable empty(FeatureDefinition(""));
    EXPECT_TRUE(empty.ExportToFile(Tavlin::Persistency::RepositoryGetFile(dir.File("empty"), true, false), 0, ""));
    auto back = Import(dir.File("empty"), 0);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->Size(), 0);

    // Garbage and a missing buffer are refused.
    TestSupport::WriteTextFile(dir.File("bad"), "not a descriptor file\n");
    EXPECT_EQ(Import(dir.File("bad"), 0), nullptr);
    EXPECT_EQ(PointDescriptorTable::ImportFromBuffer(FeatureDefinition(""), nullptr, 0), nullptr);
}
