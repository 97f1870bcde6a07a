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
std::unique_ptr<PointDescriptorTable> MakeTable(int rows, int length)
{
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition("sift"));
    for (int i = 0; i < rows; ++i)
        EXPECT_TRUE(table->AddPoint(i * 1.5, 10.0 - i, 1.2 + i, 0.0, i * 0.25));
    table->SetDescriptorLength(length);
    for (int i = 0; i < rows; ++i)
        for (int k = 0; k < length; ++k)
            table->GetDescriptor(i)[k] = i * 100 + k;
    return table;
}

std::unique_ptr<PointDescriptorTable> RoundTrip(const PointDescriptorTable& table, const std::string& format,
                                                int offset, std::string* text = nullptr)
{
    TestSupport::TempDir dir;
    std::string name = dir.File("points.txt");
    Tavlin::Persistency::File out = Tavlin::Persistency::RepositoryGetFile(name, true, false);
    EXPECT_TRUE(table.ExportToFile(out, offset, format));
    if (text)
        *text = TestSupport::ReadTextFile(name);
    Tavlin::Persistency::File in = Tavlin::Persistency::RepositoryGetFile(name, false, false);
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer(in.GetReadBuffer());
    return std::unique_ptr<PointDescriptorTable>(
        PointDescriptorTable::ImportFromBuffer(FeatureDefinition("loaded"), buffer.get(), offset));
}
} // namespace

TEST(PointDescriptorTableRows, GrowsByDoublingAndWrapsOnlyRowsInUse)
{
    PointDescriptorTable table(FeatureDefinition(""));
    EXPECT_EQ(table.Capacity(), 0);
    int capacities[6];
    for (int i = 0; i < 6; ++i)
    {
        table.AddPoint(i, i, 1, 0, 0);
        capacities[i] = table.Capacity();
    }
    EXPECT_EQ(std::vector<int>(capacities, capacities + 6), (std::vector<int>{1, 2, 4, 4, 8, 8}));
    EXPECT_EQ(table.Size(), 6);
    EXPECT_EQ(table.X()[5], 5.0);

    table.SetDescriptorLength(3);
    EXPECT_EQ(table.GetDescriptorLength(), 3);
    std::unique_ptr<Tavlin::Core::Array::Array2dReal64> wrapped(table.GetWrappedDescriptorMatrix());
    EXPECT_EQ(wrapped->mWidth, 3);
    EXPECT_EQ(wrapped->mHeight, 6);
    EXPECT_EQ(wrapped->mData, table.GetDescriptor(0));

    PointDescriptorTable empty(FeatureDefinition(""));
    std::unique_ptr<Tavlin::Core::Array::Array2dReal64> none(empty.GetWrappedDescriptorMatrix());
    EXPECT_EQ(none->mHeight, 0);
}

TEST(PointDescriptorTableFiles, ExportAndImportInBothFormatsWithOffsets)
{
    auto table = MakeTable(5, 4);
    for (const char* format : {"", "binary", "bindesc1"})
        for (int offset : {0, 5})
        {
            std::string text;
            auto back = RoundTrip(*table, format, offset, &text);
            ASSERT_TRUE(back) << format;
            ASSERT_EQ(back->Size(), 5);
            ASSERT_EQ(back->GetDescriptorLength(), 4);
            EXPECT_EQ(back->GetFeatureDefinition().name, "loaded");
            for (int i = 0; i < 5; ++i)
            {
                EXPECT_DOUBLE_EQ(back->X()[i], table->X()[i]) << format << offset;
                EXPECT_DOUBLE_EQ(back->Y()[i], table->Y()[i]);
                EXPECT_DOUBLE_EQ(back->Scale()[i], table->Scale()[i]);
                EXPECT_DOUBLE_EQ(back->Cornerness()[i], table->Cornerness()[i]);
                for (int k = 0; k < 4; ++k)
                    EXPECT_EQ(back->GetDescriptor(i)[k], table->GetDescriptor(i)[k]);
            }
            if (std::string(format).empty())
            {
                // Files are 1-based and shifted by the border: the first point, at 0, 10.
                std::string first = offset == 0 ? "<CIRCLE 1 11 " : "<CIRCLE 6 16 ";
                EXPECT_NE(text.find(first), std::string::npos) << text;
            }
        }

    PointDescriptorTable empty(FeatureDefinition(""));
    auto back = RoundTrip(empty, "", 0);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->Size(), 0);
}

TEST(PointDescriptorTableFiles, ImportRefusesGarbage)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> nothing;
    EXPECT_EQ(PointDescriptorTable::ImportFromBuffer(FeatureDefinition(""), nothing.get(), 0), nullptr);
    TestSupport::TempDir dir;
    TestSupport::WriteTextFile(dir.File("bad.txt"), "not a descriptor file\n");
    Tavlin::Persistency::File in = Tavlin::Persistency::RepositoryGetFile(dir.File("bad.txt"), false, false);
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer(in.GetReadBuffer());
    EXPECT_EQ(PointDescriptorTable::ImportFromBuffer(FeatureDefinition(""), buffer.get(), 0), nullptr);
}
