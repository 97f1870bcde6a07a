// The one two-dimensional store of the system: images, planes, kernels, matrices and
// the storage behind vector columns. The storage is one contiguous row-major block
// that includes a frame of border pixels around the image, so that filters can read
// neighbours outside the image without bounds tests. Pixel (0, 0) is the first image
// pixel; the border has negative coordinates. A pixel's ElemSize values are adjacent.
// Storage comes from ArraySystem and is not cleared; the array owns it unless it is a
// wrapper. Nothing here is checked: coordinates and shapes are the caller's duty.
#ifndef TAVLIN_CORE_ARRAY_ARRAY2DTEM_H
#define TAVLIN_CORE_ARRAY_ARRAY2DTEM_H

#include <cstdint>
#include <string>

#include "core/array/ArraySystem.h"
#include "core/array/Vec3Int32.h"
#include "core/array/Vec3Real64.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// The type word of GetTypeName for each storage type.
template <class T>
struct StorTypeWord;
template <>
struct StorTypeWord<unsigned char> { static const char* Get() { return "uint8"; } };
template <>
struct StorTypeWord<int> { static const char* Get() { return "int32"; } };
template <>
struct StorTypeWord<unsigned long long> { static const char* Get() { return "uint64"; } };
template <>
struct StorTypeWord<float> { static const char* Get() { return "real32"; } };
template <>
struct StorTypeWord<double> { static const char* Get() { return "real64"; } };

template <class StorTypeT, int ElemSizeT, class ArithTypeT>
class Array2dTem
{
public:
    typedef StorTypeT StorType;
    typedef ArithTypeT ArithType;
    static const int ElemSize = ElemSizeT;

    // With data null the storage is taken from ArraySystem. Non-null data with isWrapper
    // false passes into the array's ownership and must come from operator new.
    Array2dTem(long long width, long long height, long long borderWidth, long long borderHeight,
               StorType* data = nullptr, bool isWrapper = false, bool spareFlag = false)
        : mWidth(width),
          mHeight(height),
          mBorderWidth(borderWidth),
          mBorderHeight(borderHeight),
          mData(nullptr),
          mDataSize(static_cast<uint64_t>((width + 2 * borderWidth) * (height + 2 * borderHeight) *
                                          ElemSize)),
          mIsWrapper(isWrapper),
          mSpareCount(0),
          mSpareFlag(spareFlag),
          mCompanion(nullptr)
    {
        if (data)
        {
            mData = data;
            if (!isWrapper)
                ArraySystem::Instance().External(mDataSize, mData);
        }
        else
        {
            mData = ArraySystem::Instance().Allocate(mDataSize, StorType());
        }
    }

    virtual std::string GetTypeName() const
    {
        return std::string("Array(") + StorTypeWord<StorType>::Get() + "," + std::to_string(ElemSize) + ")";
    }

    virtual ~Array2dTem()
    {
        if (mData && !mIsWrapper)
        {
            ArraySystem::Instance().Deallocate(mData, mDataSize);
            mData = nullptr;
        }
        delete mCompanion;
    }

    Array2dTem(const Array2dTem&) = delete;
    Array2dTem& operator=(const Array2dTem&) = delete;

    long long Width() const { return mWidth; }
    long long Height() const { return mHeight; }
    long long BorderWidth() const { return mBorderWidth; }
    long long BorderHeight() const { return mBorderHeight; }
    // Pixels in one stored row and stored rows, border included.
    long long FrameWidth() const { return mWidth + 2 * mBorderWidth; }
    long long FrameHeight() const { return mHeight + 2 * mBorderHeight; }
    // Stored values from one row to the next.
    long long RowStride() const { return (mWidth + 2 * mBorderWidth) * ElemSize; }

    StorType* Data() const { return mData; }
    uint64_t DataSize() const { return mDataSize; }
    bool IsWrapper() const { return mIsWrapper; }

    StorType* PixelPtr(long long x, long long y) const
    {
        return mData + ((y + mBorderHeight) * (mWidth + 2 * mBorderWidth) + x + mBorderWidth) * ElemSize;
    }

    long long mWidth;
    long long mHeight;
    long long mBorderWidth;
    long long mBorderHeight;
    StorType* mData;
    uint64_t mDataSize;
    bool mIsWrapper;
    int32_t mSpareCount;
    bool mSpareFlag;
    Array2dTem* mCompanion;
};

typedef Array2dTem<unsigned char, 3, Vec3Int32> Array2dVec3UInt8;
typedef Array2dTem<double, 3, Vec3Real64> Array2dVec3Real64;
typedef Array2dTem<double, 1, double> Array2dReal64;
typedef Array2dTem<float, 1, double> Array2dReal32;
typedef Array2dTem<int, 1, int> Array2dInt32;
typedef Array2dTem<unsigned char, 1, int> Array2dUInt8;
typedef Array2dTem<unsigned long long, 1, unsigned long long> Array2dUInt64;

extern template class Array2dTem<unsigned char, 3, Vec3Int32>;
extern template class Array2dTem<double, 3, Vec3Real64>;
extern template class Array2dTem<double, 1, double>;
extern template class Array2dTem<float, 1, double>;
extern template class Array2dTem<int, 1, int>;
extern template class Array2dTem<unsigned char, 1, int>;
extern template class Array2dTem<unsigned long long, 1, unsigned long long>;

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
