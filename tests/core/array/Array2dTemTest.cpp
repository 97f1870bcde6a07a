#include "core/array/Array2dTem.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>

#include "core/array/ArrayFactories.h"
#include "core/array/ArraySystem.h"
#include "support/LogCapture.h"

using namespace Tavlin::Core::Array;

TEST(Array2dTem, LaysOutFrameAsOneRowMajorBlock)
{
    Array2dVec3UInt8* a = ArrayCreate<Array2dVec3UInt8>(4, 3, 2, 1);
    const long long frameWidth = 4 + 2 * 2;
    const long long frameHeight = 3 + 2 * 1;
    EXPECT_EQ(a->DataSize(), static_cast<uint64_t>(frameWidth * frameHeight * 3));
    EXPECT_EQ(a->FrameWidth(), frameWidth);
    EXPECT_EQ(a->RowStride(), frameWidth * 3);
    // Number every stored value by its place in the block, then read through pixels.
    for (uint64_t i = 0; i < a->DataSize(); ++i)
        a->Data()[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(a->PixelPtr(-2, -1), a->Data());
    for (long long y = -1; y < 4; ++y)
        for (long long x = -2; x < 6; ++x)
        {
            const long long index = ((y + 1) * frameWidth + x + 2) * 3;
            EXPECT_EQ(a->PixelPtr(x, y) - a->Data(), index);
            EXPECT_EQ(a->PixelPtr(x, y)[2], static_cast<unsigned char>(index + 2));
        }
    // The last stored value is the bottom-right corner pixel's channel 2.
    EXPECT_EQ(a->PixelPtr(5, 3) + 2, a->Data() + a->DataSize() - 1);
    delete a;

    Array2dReal64* empty = ArrayCreate<Array2dReal64>(0, 5, 0, 0);
    EXPECT_EQ(empty->DataSize(), 0u);
    delete empty;
}

TEST(Array2dTem, NamesItsTypes)
{
    Array2dVec3UInt8 a(1, 1, 0, 0);
    Array2dVec3Real64 b(1, 1, 0, 0);
    Array2dReal64 c(1, 1, 0, 0);
    Array2dReal32 d(1, 1, 0, 0);
    Array2dInt32 e(1, 1, 0, 0);
    Array2dUInt8 f(1, 1, 0, 0);
    Array2dUInt64 g(1, 1, 0, 0);
    EXPECT_EQ(a.GetTypeName(), "Array(uint8,3)");
    EXPECT_EQ(b.GetTypeName(), "Array(real64,3)");
    EXPECT_EQ(c.GetTypeName(), "Array(real64,1)");
    EXPECT_EQ(d.GetTypeName(), "Array(real32,1)");
    EXPECT_EQ(e.GetTypeName(), "Array(int32,1)");
    EXPECT_EQ(f.GetTypeName(), "Array(uint8,1)");
    EXPECT_EQ(g.GetTypeName(), "Array(uint64,1)");
}

TEST(ArraySystem, TracksOwnedStorageButNotWrappers)
{
    ArraySystem& sys = ArraySystem::Instance();
    const int64_t usage = sys.Usage();
    const int32_t allocs = sys.AllocCount();
    const int32_t deallocs = sys.DeallocCount();

    Array2dReal64* a = ArrayCreate<Array2dReal64>(3, 2, 1, 1);
    const SysInf* info = sys.Find(a->Data());
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->mSize, 5u * 4u);
    EXPECT_EQ(info->mElemSize, sizeof(double));
    EXPECT_EQ(info->mId, allocs);
    EXPECT_EQ(sys.Usage(), usage + 20 * 8);
    void* storage = a->Data();
    delete a;
    EXPECT_EQ(sys.Find(storage), nullptr);
    EXPECT_EQ(sys.Usage(), usage);
    EXPECT_EQ(sys.AllocCount(), allocs + 1);
    EXPECT_EQ(sys.DeallocCount(), deallocs + 1);

    // Foreign storage handed over is counted, so usage stays balanced on release.
    double* owned = static_cast<double*>(::operator new(6 * sizeof(double)));
    Array2dReal64* b = ArrayCreate<Array2dReal64>(3, 2, 0, 0, owned, false);
    EXPECT_NE(sys.Find(owned), nullptr);
    EXPECT_EQ(sys.Usage(), usage + 48);
    delete b;
    EXPECT_EQ(sys.Usage(), usage);

    // A wrapper is never told to the tracker and leaves its buffer alone.
    double buffer[6] = {1, 2, 3, 4, 5, 6};
    Array2dReal64* w = ArrayCreate<Array2dReal64>(3, 2, 0, 0, buffer, true);
    EXPECT_EQ(sys.Find(buffer), nullptr);
    EXPECT_EQ(*w->PixelPtr(2, 1), 6.0);
    delete w;
    EXPECT_EQ(buffer[5], 6.0);
    EXPECT_EQ(sys.Usage(), usage);
    EXPECT_EQ(sys.AllocCount(), allocs + 2);
}

TEST(ArraySystem, LogsAllocationsAtDebug)
{
    TestSupport::LogCapture log("Tavlin.Core.Array.ArraySystem");
    const int64_t usage = ArraySystem::Instance().Usage();
    Array2dInt32* a = ArrayCreate<Array2dInt32>(2, 2, 0, 0);
    delete a;
    const std::string text = log.Text();
    const std::string alloc = "Alloc (0x0x";
    EXPECT_NE(text.find(alloc), std::string::npos) << text;
    EXPECT_NE(text.find(") 4 times 4, usage from " + std::to_string(usage) + " to " + std::to_string(usage + 16)),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("Dealloc (0x0x"), std::string::npos) << text;
    EXPECT_NE(text.find(", usage from " + std::to_string(usage + 16) + " to " + std::to_string(usage)),
              std::string::npos)
        << text;
}

TEST(ArraySystem, FailedAllocationIsLoggedAndGivesNull)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer ends the process on an impossible allocation";
#endif
    TestSupport::LogCapture log("Tavlin.Core.Array.ArraySystem", log4cpp::Priority::ERROR);
    ArraySystem& sys = ArraySystem::Instance();
    const unsigned long n = 1UL << 58;
    double* p = sys.Allocate(n, 0.0);
    EXPECT_EQ(p, nullptr);
    EXPECT_NE(log.Text().find("Couldn't allocate 288230376151711744 x 8 ("), std::string::npos) << log.Text();
    sys.Deallocate(p, n);
}

TEST(ArrayFactories, CloneKeepsSizeAndWidensBorder)
{
    Array2dReal64* src = ArrayCreate<Array2dReal64>(7, 5, 2, 3);
    Array2dReal64* same = ArrayClone<Array2dReal64>(src, 0, 0);
    Array2dVec3Real64* wider = ArrayClone<Array2dVec3Real64>(src, 5, 0);
    EXPECT_EQ(same->Width(), 7);
    EXPECT_EQ(same->Height(), 5);
    EXPECT_EQ(same->BorderWidth(), 2);
    EXPECT_EQ(same->BorderHeight(), 3);
    EXPECT_EQ(wider->Width(), 7);
    EXPECT_EQ(wider->BorderWidth(), 5);
    EXPECT_EQ(wider->BorderHeight(), 3);
    EXPECT_NE(same->Data(), src->Data());
    delete src;
    delete same;
    delete wider;
}

TEST(ArrayFactories, MakeFromDataCopiesAndSetPartCopiesRectangle)
{
    double data[6] = {1, 2, 3, 4, 5, 6};
    Array2dReal64* a = MakeFromData<Array2dReal64>(data, 3, 2, 1, 2, false);
    EXPECT_EQ(a->BorderWidth(), 1);
    EXPECT_EQ(a->BorderHeight(), 2);
    data[0] = 100;
    EXPECT_EQ(*a->PixelPtr(0, 0), 1.0);
    EXPECT_EQ(*a->PixelPtr(2, 0), 3.0);
    EXPECT_EQ(*a->PixelPtr(0, 1), 4.0);
    EXPECT_EQ(*a->PixelPtr(2, 1), 6.0);
    EXPECT_FALSE(a->IsWrapper());
    delete a;

    Array2dInt32* src = ArrayCreate<Array2dInt32>(4, 3, 1, 1);
    for (long long y = 0; y < 3; ++y)
        for (long long x = 0; x < 4; ++x)
            *src->PixelPtr(x, y) = static_cast<int>(10 * y + x);
    Array2dInt32* dst = nullptr;
    SetPart(dst, src, 1, 1, 2, 2, 0, 0);
    ASSERT_NE(dst, nullptr);
    EXPECT_EQ(dst->Width(), 4);
    EXPECT_EQ(dst->BorderWidth(), 1);
    EXPECT_EQ(*dst->PixelPtr(0, 0), 11);
    EXPECT_EQ(*dst->PixelPtr(1, 0), 12);
    EXPECT_EQ(*dst->PixelPtr(0, 1), 21);
    EXPECT_EQ(*dst->PixelPtr(1, 1), 22);
    *dst->PixelPtr(3, 2) = -7;
    SetPart(dst, src, 0, 0, 3, 0, 0, 0); // height 0 copies nothing
    EXPECT_EQ(*dst->PixelPtr(0, 0), 11);
    SetPart(dst, src, 0, 2, 1, 1, 3, 2);
    EXPECT_EQ(*dst->PixelPtr(3, 2), 20);
    delete src;
    delete dst;
}
