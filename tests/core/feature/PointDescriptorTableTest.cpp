#include "core/feature/PointDescriptorTable.h"

#include <gtest/gtest.h>

#include <memory>

#include "persistency/RepositoryInFileSystem.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::PointDescriptorTable;
using Tavlin::Persistency::RepositoryGetFile;

namespace
{
std::unique_ptr<PointDescriptorTable> Import(const std::string& path, int offset)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer(RepositoryGetFile(path, false, false).GetReadBuffer());
    return std::unique_ptr<PointDescriptorTable>(
        PointDescriptorTable::ImportFromBuffer(FeatureDefinition("loaded"), buffer.get(), offset));
}
} // namespace

TEST(PointDescriptorTableRows, GrowsByDoublingAndWrapsOnlyRowsInUse)
{
    PointDescriptorTable table(FeatureDefinition(""));
    EXPECT_EQ(std::unique_ptr<Array2dReal64>(table.GetWrappedDescriptorMatrix())->mHeight, 0);
    std::vector<int> capacities{table.Capacity()};
    for (int i = 0; i < 6; ++i)
    {
        table.AddPoint(i, i, 1, 0, 0);
        capacities.push_back(table.Capacity());
    }
    EXPECT_EQ(capacities, (std::vector<int>{0, 1, 2, 4, 4, 8, 8}));
    EXPECT_TRUE(table.Size() == 6 && table.X()[5] == 5.0);

    table.SetDescriptorLength(3);
    EXPECT_EQ(table.GetDescriptorLength(), 3);
    std::unique_ptr<Array2dReal64> wrapped(table.GetWrappedDescriptorMatrix());
    EXPECT_TRUE(wrapped->mWidth == 3 && wrapped->mHeight == 6 && wrapped->mData == table.GetDescriptor(0));
}

TEST(PointDescriptorTableFiles, ExportAndImportInBothFormatsWithOffsets)
{
    TestSupport::TempDir dir;
    PointDescriptorTable table(FeatureDefinition("sift"));
    for (int i = 0; i < 5; ++i)
        table.AddPoint(i * 1.5, 10.0 - i, 1.2 + i, 0.5 * i, i * 0.25);
    table.SetDescriptorLength(4);
    for (int i = 0; i < 5; ++i)
        for (int k = 0; k < 4; ++k)
            table.GetDescriptor(i)[k] = i * 100 + k;
    for (const std::string format : {"", "binary", "bindesc1"})
        for (int offset : {0, 5})
        {
            const std::string path = dir.File(format + std::to_string(offset));
            EXPECT_TRUE(table.ExportToFile(RepositoryGetFile(path, true, false), offset, format));
            const std::string text = TestSupport::ReadTextFile(path);
            EXPECT_EQ(text.rfind(format.empty() ? "VESK1" : "BINDESC1", 0), 0u);
            // Files are 1-based and shifted by the border: the first point, at 0, 10.
            const char* first = offset ? "<CIRCLE 6 16 1.2 0 0>" : "<CIRCLE 1 11 1.2 0 0>";
            EXPECT_EQ(text.find(first) != std::string::npos, format.empty());
            auto back = Import(path, offset);
            ASSERT_TRUE(back) << format;
            ASSERT_TRUE(back->Size() == 5 && back->GetDescriptorLength() == 4);
            EXPECT_EQ(back->GetFeatureDefinition().name, "loaded");
            for (int i = 0; i < 5; ++i)
            {
                EXPECT_TRUE(back->X()[i] == table.X()[i] && back->Y()[i] == table.Y()[i]) << format << offset;
                EXPECT_TRUE(back->Scale()[i] == table.Scale()[i] && back->Orientation()[i] == table.Orientation()[i] &&
                            back->Cornerness()[i] == table.Cornerness()[i]);
                for (int k = 0; k < 4; ++k)
                    EXPECT_EQ(back->GetDescriptor(i)[k], table.GetDescriptor(i)[k]);
            }
        }

    PointDescriptorTable empty(FeatureDefinition(""));
    EXPECT_TRUE(empty.ExportToFile(RepositoryGetFile(dir.File("empty"), true, false), 0, ""));
    auto back = Import(dir.File("empty"), 0);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->Size(), 0);
    // Garbage and a missing buffer are refused.
    TestSupport::WriteTextFile(dir.File("bad"), "not a descriptor file\n");
    EXPECT_EQ(Import(dir.File("bad"), 0), nullptr);
    EXPECT_EQ(PointDescriptorTable::ImportFromBuffer(FeatureDefinition(""), nullptr, 0), nullptr);
}

TEST(PointDescriptorTableRows, AppendKeepsBothTablesRowsInOrder)
{
    auto first = std::make_unique<PointDescriptorTable>(FeatureDefinition(""));
    first->SetStorage(new Array2dReal64(3, 0, 0, 0));
    auto second = std::make_unique<PointDescriptorTable>(FeatureDefinition(""));
    second->SetStorage(new Array2dReal64(3, 5, 0, 0));
    second->Reserve(5, false);
    for (int i = 0; i < 5; ++i)
    {
        second->AddPoint(10 + i, 20 + i, 0, 0, 0);
        for (int k = 0; k < 3; ++k)
            second->GetDescriptor(i)[k] = 100 * i + k;
    }
    ASSERT_TRUE(first->Append(*second));
    ASSERT_TRUE(first->Append(*second));
    ASSERT_EQ(first->Size(), 10);
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_EQ(first->X()[i], 10 + i % 5);
        EXPECT_EQ(first->Y()[i], 20 + i % 5);
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(first->GetDescriptor(i)[k], 100 * (i % 5) + k);
    }

    // Another descriptor length is refused and changes nothing.
    auto other = std::make_unique<PointDescriptorTable>(FeatureDefinition(""));
    other->SetStorage(new Array2dReal64(4, 1, 0, 0));
    other->AddPoint(1, 1, 0, 0, 0);
    EXPECT_FALSE(first->Append(*other));
    EXPECT_EQ(first->Size(), 10);
}
