// Creation of arrays: plain creation, a new array shaped like another (no pixels
// copied), a copy of foreign data, and the copy of a rectangle between arrays.
// Every factory returns a new heap array owned by the caller.
#ifndef TAVLIN_CORE_ARRAY_ARRAYFACTORIES_H
#define TAVLIN_CORE_ARRAY_ARRAYFACTORIES_H

#include <algorithm>
#include <cstring>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template <class ArrayT>
ArrayT* ArrayCreate(long long width, long long height, long long borderWidth, long long borderHeight,
                    typename ArrayT::StorType* data = nullptr, bool isWrapper = false)
{
    return new ArrayT(width, height, borderWidth, borderHeight, data, isWrapper, false);
}

// A new array without border, or null when its storage could not be had (ArraySystem
// has reported that): for readers that must not write into a failed allocation.
template <class ArrayT>
ArrayT* ArrayCreateOrNull(long long width, long long height)
{
    ArrayT* created = ArrayCreate<ArrayT>(width, height, 0, 0, nullptr, false);
    if (!created->Data() && created->DataSize() > 0)
    {
        delete created;
        return nullptr;
    }
    return created;
}

// Same width and height as src, border at least src's and at least the minimum per
// axis. Pixels are not copied.
template <class DstT, class SrcT>
DstT* ArrayClone(SrcT* src, long long minBorderWidth = 0, long long minBorderHeight = 0)
{
    return new DstT(src->mWidth, src->mHeight, std::max(src->mBorderWidth, minBorderWidth),
                    std::max(src->mBorderHeight, minBorderHeight), nullptr, false, false);
}

// Copies the image rows of src into dst of the same type and size; borders may differ.
template <class ArrayT>
void CopyImageRows(ArrayT* dst, const ArrayT* src)
{
    const size_t rowBytes = static_cast<size_t>(src->mWidth) * ArrayT::ElemSize * sizeof(typename ArrayT::StorType);
    for (long long y = 0; y < src->mHeight; ++y)
        std::memcpy(dst->PixelPtr(0, y), src->PixelPtr(0, y), rowBytes);
}

// A copy of width x height pixels at data, with the given (undefined) borders; data
// stays the caller's.
template <class ArrayT>
ArrayT* MakeFromData(typename ArrayT::StorType* data, int width, int height, int borderWidth,
                     int borderHeight, bool spareFlag = false)
{
    (void)spareFlag;
    ArrayT* wrapper = new ArrayT(width, height, 0, 0, data, true, false);
    ArrayT* result = ArrayClone<ArrayT, ArrayT>(wrapper, borderWidth, borderHeight);
    CopyImageRows(result, wrapper);
    delete wrapper;
    return result;
}

// Copies the rectangle of width x height at (srcX, srcY) in src to (dstX, dstY) in dst,
// creating dst shaped like src when it is null. Nothing is checked.
template <class DstT, class SrcT>
void SetPart(DstT*& dst, SrcT* src, int srcX, int srcY, int width, int height, int dstX, int dstY)
{
    if (!dst)
        dst = new DstT(src->mWidth, src->mHeight, src->mBorderWidth, src->mBorderHeight, nullptr, false, false);
    const long long count = static_cast<long long>(width) * SrcT::ElemSize;
    for (int y = 0; y < height; ++y)
    {
        const typename SrcT::StorType* s = src->PixelPtr(srcX, srcY + y);
        typename DstT::StorType* d = dst->PixelPtr(dstX, dstY + y);
        for (long long i = 0; i < count; ++i)
            d[i] = static_cast<typename DstT::StorType>(s[i]);
    }
}

extern template Array2dVec3UInt8* ArrayCreate<Array2dVec3UInt8>(long long, long long, long long, long long,
                                                                unsigned char*, bool);
extern template Array2dReal64* ArrayCreate<Array2dReal64>(long long, long long, long long, long long, double*,
                                                          bool);
extern template Array2dUInt64* ArrayCreate<Array2dUInt64>(long long, long long, long long, long long,
                                                          unsigned long long*, bool);

extern template Array2dReal64* ArrayClone<Array2dReal64, Array2dReal64>(Array2dReal64*, long long, long long);
extern template Array2dReal64* ArrayClone<Array2dReal64, Array2dVec3UInt8>(Array2dVec3UInt8*, long long,
                                                                           long long);
extern template Array2dReal64* ArrayClone<Array2dReal64, Array2dVec3Real64>(Array2dVec3Real64*, long long,
                                                                            long long);
extern template Array2dVec3Real64* ArrayClone<Array2dVec3Real64, Array2dVec3UInt8>(Array2dVec3UInt8*,
                                                                                   long long, long long);
extern template Array2dVec3Real64* ArrayClone<Array2dVec3Real64, Array2dVec3Real64>(Array2dVec3Real64*,
                                                                                    long long, long long);
extern template Array2dVec3UInt8* ArrayClone<Array2dVec3UInt8, Array2dVec3UInt8>(Array2dVec3UInt8*, long long,
                                                                                 long long);

extern template Array2dReal64* MakeFromData<Array2dReal64>(double*, int, int, int, int, bool);

extern template void SetPart<Array2dInt32, Array2dInt32>(Array2dInt32*&, Array2dInt32*, int, int, int, int,
                                                         int, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
