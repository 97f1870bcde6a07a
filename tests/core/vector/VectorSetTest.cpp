#include "core/vector/VectorSet.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "core/array/Array2dTem.h"
#include "core/vector/VectorTem.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Vector::VectorSet;
using Tavlin::Core::Vector::VectorTem;

namespace
{

typedef VectorSet<Array2dReal64> Set;

// Vector i of the set holds 10 i + k at position k.
void FillRows(Set& set, int rows)
{
    for (int i = 0; i < rows; ++i)
        for (int k = 0; k < set.GetVectorLength(i); ++k)
            set.GetVectorData(i)[k] = 10.0 * i + k;
}

} // namespace

TEST(VectorTem, CopiesOwnDataButShareWrappedData)
{
    VectorTem<double> owner(3);
    owner[0] = 1.0;
    owner[1] = 2.0;
    owner[2] = 3.0;
    VectorTem<double> copy(owner);
    EXPECT_FALSE(copy.IsWrapper());
    EXPECT_NE(copy.Data(), owner.Data());
    copy[0] = 9.0;
    EXPECT_EQ(owner[0], 1.0);

    VectorTem<double> wrapper(3, owner.Data(), true);
    VectorTem<double> wrapperCopy(wrapper);
    EXPECT_TRUE(wrapperCopy.IsWrapper());
    EXPECT_EQ(wrapperCopy.Data(), owner.Data());

    VectorTem<double> assigned;
    assigned = owner;
    EXPECT_EQ(assigned.Size(), 3);
    EXPECT_NE(assigned.Data(), owner.Data());
    EXPECT_EQ(assigned[2], 3.0);
}

TEST(VectorSet, ConstantSizeSetKeepsOneVectorPerStorageRow)
{
    Set set(true, 3, 4);
    EXPECT_EQ(set.Size(), 0);
    EXPECT_EQ(set.Capacity(), 4);
    ASSERT_NE(set.GetStorage(), nullptr);
    EXPECT_EQ(set.GetStorage()->Width(), 3);
    EXPECT_EQ(set.GetStorage()->Height(), 4);
    EXPECT_EQ(set.mOffsets, nullptr);
    EXPECT_EQ(set.mLengths, nullptr);
    EXPECT_EQ(set.GetVectorData(2), set.GetStorage()->PixelPtr(0, 2));

    // Set copies the slot's length, whatever the vector's own size says.
    double values[5] = {1.5, 2.5, 3.5, 4.5, 5.5};
    set.Set(1, VectorTem<double>(1, values, true));
    EXPECT_EQ(set.GetVectorData(1)[0], 1.5);
    EXPECT_EQ(set.GetVectorData(1)[2], 3.5);
    EXPECT_EQ(set.Size(), 0);
}

TEST(VectorSet, VariableSizeSetAddressesVectorsThroughOffsets)
{
    Set set(false, 6, 3);
    ASSERT_NE(set.mOffsets, nullptr);
    ASSERT_NE(set.mLengths, nullptr);
    EXPECT_EQ(set.mOffsets->Width(), 3);
    EXPECT_EQ(set.mOffsets->Height(), 1);
    set.mOffsets->mData[0] = 0;
    set.mLengths->mData[0] = 2;
    set.mOffsets->mData[1] = 2;
    set.mLengths->mData[1] = 4;
    EXPECT_EQ(set.GetVectorData(1), set.GetStorage()->mData + 2);
    EXPECT_EQ(set.GetVectorLength(1), 4);

    // Reserve keeps the bookkeeping of the rows it keeps.
    ASSERT_TRUE(set.Reserve(5, true));
    EXPECT_EQ(set.mOffsets->Width(), 5);
    EXPECT_EQ(set.mOffsets->mData[1], 2);
    EXPECT_EQ(set.mLengths->mData[1], 4);

    // Storage cannot be swapped on such a set: it warns and keeps its fields.
    testing::internal::CaptureStdout();
    set.SetStorage(new Array2dReal64(7, 9, 0, 0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "SetStorage: warning: only works on const size\n");
    EXPECT_EQ(set.GetVectorLength(), 6);
    EXPECT_EQ(set.Capacity(), 5);
}

TEST(VectorSet, ReserveKeepsLeadingRowsAndClampsTheSize)
{
    Set set(true, 2, 4);
    FillRows(set, 4);
    set.SetSize(4);
    double* before = set.GetStorage()->mData;

    // The same capacity changes nothing, whatever keepData says.
    EXPECT_TRUE(set.Reserve(4, false));
    EXPECT_EQ(set.GetStorage()->mData, before);
    EXPECT_EQ(set.GetVectorData(3)[1], 31.0);

    ASSERT_TRUE(set.Reserve(8, true));
    EXPECT_EQ(set.Capacity(), 8);
    EXPECT_EQ(set.GetStorage()->Height(), 8);
    EXPECT_EQ(set.Size(), 4);
    EXPECT_EQ(set.GetVectorData(3)[0], 30.0);

    ASSERT_TRUE(set.Reserve(2, true));
    EXPECT_EQ(set.Capacity(), 2);
    EXPECT_EQ(set.Size(), 2);
    EXPECT_EQ(set.GetVectorData(1)[0], 10.0);
    EXPECT_EQ(set.GetVectorData(1)[1], 11.0);
}

TEST(VectorSet, SetStorageAdoptsTheShapeOfAConstantSizeSet)
{
    Set set(true, 2, 2);
    Array2dReal64* storage = new Array2dReal64(5, 3, 0, 0);
    set.SetStorage(storage);
    EXPECT_EQ(set.GetStorage(), storage);
    EXPECT_EQ(set.GetVectorLength(), 5);
    EXPECT_EQ(set.Capacity(), 3);
    EXPECT_EQ(set.GetVectorData(2), storage->PixelPtr(0, 2));
}

TEST(VectorSet, DumpListsTheVectorsInUse)
{
    Set set(true, 2, 3);
    FillRows(set, 3);
    set.SetSize(2);
    std::ostringstream out;
    set.Dump(0, -1, out);
    EXPECT_EQ(out.str(), "Dumping VectorSet from 0 to 2 (set size=2, capacity=3)\n"
                         " 0 = (0,1)\n"
                         " 1 = (10,11)\n"
                         "\n");
    std::ostringstream raised;
    set.Dump(2, 1, raised);
    EXPECT_EQ(raised.str(), "Dumping VectorSet from 2 to 2 (set size=2, capacity=3)\n\n");
}
