#include "core/vector/VectorSet.h"

#include <gtest/gtest.h>

#include <sstream>

#include "core/array/Array2dTem.h"
#include "core/vector/VectorTem.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Vector::VectorTem;

typedef Tavlin::Core::Vector::VectorSet<Array2dReal64> Set;

TEST(VectorTem, CopiesOwnDataButSharesWrappedData)
{
    VectorTem<double> owner(2);
    owner[0] = 1.0;
    VectorTem<double> copy(owner);
    VectorTem<double> assigned;
    assigned = owner;
    copy[0] = 9.0;
    assigned[0] = 8.0;
    EXPECT_EQ(owner[0], 1.0);
    VectorTem<double> wrapperCopy(VectorTem<double>(2, owner.Data(), true));
    EXPECT_EQ(wrapperCopy.Data(), owner.Data());
}

TEST(VectorSet, ConstantSizeRowsReserveDumpAndStorage)
{
    Set set(true, 2, 4);
    EXPECT_EQ(set.GetVectorData(2), set.GetStorage()->PixelPtr(0, 2));
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 2; ++k)
            set.GetVectorData(i)[k] = 10.0 * i + k;
    set.SetSize(4);
    // Set copies the slot's length, whatever the vector's own size says.
    double values[3] = {1.5, 2.5, 3.5};
    set.Set(1, VectorTem<double>(1, values, true));

    // Growing keeps every row; shrinking keeps the leading ones and clamps the size.
    ASSERT_TRUE(set.Reserve(8, true));
    EXPECT_EQ(set.GetStorage()->Height(), 8);
    EXPECT_EQ(set.GetVectorData(3)[1], 31.0);
    ASSERT_TRUE(set.Reserve(3, true));
    EXPECT_EQ(set.Size(), 3);
    set.SetSize(2);
    std::ostringstream out;
    set.Dump(0, -1, out);
    set.Dump(2, 1, out);
    EXPECT_EQ(out.str(), "Dumping VectorSet from 0 to 2 (set size=2, capacity=3)\n"
                         " 0 = (0,1)\n"
                         " 1 = (1.5,2.5)\n"
                         "\n"
                         "Dumping VectorSet from 2 to 2 (set size=2, capacity=3)\n\n");

    set.SetStorage(new Array2dReal64(5, 7, 0, 0));
    EXPECT_EQ(set.GetVectorLength(), 5);
    EXPECT_EQ(set.Capacity(), 7);
}

TEST(VectorSet, VariableSizeSetAddressesVectorsThroughOffsets)
{
    Set set(false, 6, 3);
    set.mOffsets->mData[1] = 2;
    set.mLengths->mData[1] = 4;
    EXPECT_EQ(set.GetVectorData(1), set.GetStorage()->mData + 2);
    // Reserve keeps the bookkeeping of the rows it keeps.
    ASSERT_TRUE(set.Reserve(5, true));
    EXPECT_EQ(set.mOffsets->Width(), 5);
    EXPECT_EQ(set.mOffsets->mData[1], 2);
    EXPECT_EQ(set.GetVectorLength(1), 4);

    testing::internal::CaptureStdout();
    set.SetStorage(new Array2dReal64(7, 9, 0, 0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "SetStorage: warning: only works on const size\n");
    EXPECT_EQ(set.GetVectorLength(), 6);
    EXPECT_EQ(set.Capacity(), 5);
}
