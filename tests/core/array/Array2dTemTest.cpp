#include "core/array/Array2dTem.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <sstream>
#include <string>

#include "core/array/ArrayFactories.h"
#include "core/array/ArraySystem.h"
#include "support/LogCapture.h"

using namespace Tavlin::Core::Array;

TEST(Array2dTem, LaysOutFrameAsOneRowMajorBlock)
{
    std::unique_ptr<Array2dVec3UInt8> a(ArrayCreate<Array2dVec3UInt8>(4, 3, 2, 1));
    const long long frameWidth = 4 + 2 * 2;
    EXPECT_EQ(a->DataSize(), static_cast<uint64_t>(frameWidth * (3 + 2 * 1) * 3));
    EXPECT_EQ(a->RowStride(), frameWidth * 3);
    // Pixel (x, y) of the frame starts at ((y + 1) frameWidth + x + 2) values.
    for (long long y = -1; y < 4; ++y)
        for (long long x = -2; x < 6; ++x)
            EXPECT_EQ(a->PixelPtr(x, y) - a->Data(), ((y + 1) * frameWidth + x + 2) * 3) << x << "," << y;
    EXPECT_EQ(a->PixelPtr(5, 3) + 2, a->Data() + a->DataSize() - 1);
    EXPECT_EQ(a->GetTypeName(), "Array(uint8,3)");
    EXPECT_EQ(Array2dUInt64(1, 1, 0, 0).GetTypeName(), "Array(uint64,1)");
    EXPECT_EQ(Array2dReal64(0, 5, 0, 0).DataSize(), 0u);
}

TEST(ArraySystem, TracksOwnedStorageButNotWrappers)
{
    ArraySystem& sys = ArraySystem::Instance();
    const int64_t usage = sys.Usage();
    const int32_t allocs = sys.AllocCount();

    // Own storage of the whole frame, and foreign storage handed over, are counted, so
    // usage stays balanced on release. The debug lines show the stream's own 0x as well.
    TestSupport::LogCapture log("Tavlin.Core.Array.ArraySystem", log4cpp::Priority::DEBUG);
    Array2dReal64* a = ArrayCreate<Array2dReal64>(3, 2, 1, 1);
    ASSERT_NE(sys.Find(a->Data()), nullptr);
    EXPECT_EQ(sys.Find(a->Data())->mSize, 5u * 4u);
    EXPECT_EQ(sys.Find(a->Data())->mId, allocs);
    Array2dReal64* b = ArrayCreate<Array2dReal64>(3, 2, 0, 0, static_cast<double*>(::operator new(48)), false);
    EXPECT_EQ(sys.Usage(), usage + 20 * 8 + 48);
    void* storage = a->Data();
    delete a;
    delete b;
    EXPECT_EQ(sys.Find(storage), nullptr);
    EXPECT_EQ(sys.Usage(), usage);
    const std::string u0 = std::to_string(usage), u1 = std::to_string(usage + 160), u2 = std::to_string(usage + 208);
    std::ostringstream expected;
    expected << "Alloc (0x" << storage << ") 20 times 8, usage from " << u0 << " to " << u1 << "\n";
    EXPECT_EQ(log.Text().substr(0, expected.str().size()), expected.str());
    EXPECT_NE(log.Text().find("0x0x"), std::string::npos);
    EXPECT_NE(log.Text().find(") 6 times 8, usage from " + u1 + " to " + u2 + "\nDealloc (0x"), std::string::npos);

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

TEST(ArraySystem, FailedAllocationIsLoggedAndGivesNull)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer ends the process on an impossible allocation";
#endif
    TestSupport::LogCapture log("Tavlin.Core.Array.ArraySystem", log4cpp::Priority::ERROR);
    const unsigned long n = 1UL << 58;
    double* p = ArraySystem::Instance().Allocate(n, 0.0);
    EXPECT_EQ(p, nullptr);
    EXPECT_NE(log.Text().find("Couldn't allocate 288230376151711744 x 8 ("), std::string::npos) << log.Text();
    ArraySystem::Instance().Deallocate(p, n);
}

TEST(ArrayFactories, CloneMakeFromDataAndSetPart)
{
    std::unique_ptr<Array2dReal64> src(ArrayCreate<Array2dReal64>(7, 5, 2, 3));
    std::unique_ptr<Array2dReal64> same(ArrayClone<Array2dReal64>(src.get(), 0, 0));
    std::unique_ptr<Array2dVec3Real64> wider(ArrayClone<Array2dVec3Real64>(src.get(), 5, 0));
    EXPECT_EQ(same->Height(), 5);
    EXPECT_EQ(same->BorderWidth(), 2);
    EXPECT_EQ(wider->BorderWidth(), 5);
    EXPECT_EQ(wider->BorderHeight(), 3);

    double data[6] = {1, 2, 3, 4, 5, 6};
    std::unique_ptr<Array2dReal64> copy(MakeFromData<Array2dReal64>(data, 3, 2, 1, 2, false));
    data[0] = 100;
    EXPECT_EQ(*copy->PixelPtr(0, 0), 1.0);
    EXPECT_EQ(*copy->PixelPtr(2, 1), 6.0);

    std::unique_ptr<Array2dInt32> numbers(ArrayCreate<Array2dInt32>(4, 3, 1, 1));
    for (int i = 0; i < 12; ++i)
        *numbers->PixelPtr(i % 4, i / 4) = 10 * (i / 4) + i % 4;
    Array2dInt32* dst = nullptr;
    SetPart(dst, numbers.get(), 1, 1, 2, 2, 0, 0);
    std::unique_ptr<Array2dInt32> owner(dst);
    EXPECT_EQ(dst->Width(), 4);
    EXPECT_EQ(*dst->PixelPtr(0, 0), 11);
    EXPECT_EQ(*dst->PixelPtr(1, 1), 22);
    SetPart(dst, numbers.get(), 0, 2, 1, 1, 3, 2);
    EXPECT_EQ(*dst->PixelPtr(3, 2), 20);
}
