// A column of vectors kept in one matrix: row i of the storage is vector i, so that a
// whole set can go into a matrix product or be written as one block. A set is either
// of constant vector size (the storage width) or of variable size, in which case
// vector i starts at mOffsets[i] in the storage block and holds mLengths[i] values.
// The set owns its storage and the two bookkeeping arrays. Instance: Array2dReal64.
#ifndef TAVLIN_CORE_VECTOR_VECTORSET_H
#define TAVLIN_CORE_VECTOR_VECTORSET_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <ostream>

#include "core/array/Array2dTem.h"
#include "core/array/ArrayFactories.h"
#include "core/vector/VectorTem.h"

namespace Tavlin
{
namespace Core
{
namespace Vector
{

template <class ArrayT>
class VectorSet
{
public:
    typedef typename ArrayT::StorType StorType;

    // Storage of vectorLength x capacity, not cleared; size 0.
    VectorSet(bool constVectorSize = true, int vectorLength = 0, int capacity = 0)
        : mConstVectorSize(constVectorSize),
          mVectorLength(vectorLength),
          mCapacity(capacity),
          mSize(0),
          mStorage(Array::ArrayCreate<ArrayT>(vectorLength, capacity, 0, 0)),
          mOffsets(nullptr),
          mLengths(nullptr)
    {
        if (!mConstVectorSize)
        {
            mOffsets = new Array::Array2dInt32(capacity, 1, 0, 0);
            mLengths = new Array::Array2dInt32(capacity, 1, 0, 0);
        }
    }

    virtual ~VectorSet()
    {
        delete mStorage;
        delete mOffsets;
        delete mLengths;
    }

    VectorSet(const VectorSet&) = delete;
    VectorSet& operator=(const VectorSet&) = delete;

    int Size() const { return mSize; }
    void SetSize(int size) { mSize = size; }
    int Capacity() const { return mCapacity; }
    int GetVectorLength() const { return mVectorLength; }
    bool IsConstVectorSize() const { return mConstVectorSize; }
    ArrayT* GetStorage() const { return mStorage; }

    StorType* GetVectorData(int i) const
    {
        if (mConstVectorSize)
            return mStorage->mData + static_cast<long long>(i) * mVectorLength;
        return mStorage->mData + mOffsets->mData[i];
    }

    // Number of values in slot i.
    int GetVectorLength(int i) const { return mConstVectorSize ? mVectorLength : mLengths->mData[i]; }

    // A wrapper over slot i; it must not outlive the storage.
    VectorTem<StorType> GetVector(int i) const { return VectorTem<StorType>(GetVectorLength(i), GetVectorData(i), true); }

    // Copies the slot's length of values from v into slot i, whatever v's own size.
    void Set(int i, VectorTem<StorType> v)
    {
        const int length = GetVectorLength(i);
        if (length > 0)
            std::memcpy(GetVectorData(i), v.mData, static_cast<size_t>(length) * sizeof(StorType));
    }

    // Adopts `storage`; with constant size its width and height become the vector length
    // and the capacity. Variable-size sets keep their fields and only warn.
    void SetStorage(ArrayT* storage)
    {
        delete mStorage;
        mStorage = storage;
        if (mConstVectorSize)
        {
            mVectorLength = static_cast<int32_t>(storage->mWidth);
            mCapacity = static_cast<int32_t>(storage->mHeight);
        }
        else
        {
            std::cout << "SetStorage: warning: only works on const size" << std::endl;
        }
    }

    bool Reserve(int newCapacity, bool keepData)
    {
        if (newCapacity == mCapacity)
            return true;
        if (newCapacity < 0)
            return NoMemory();
        const int oldCapacity = mCapacity;
        ArrayT* storage = Array::ArrayCreate<ArrayT>(mVectorLength, newCapacity, 0, 0);
        Array::Array2dInt32* offsets = nullptr;
        Array::Array2dInt32* lengths = nullptr;
        if (!mConstVectorSize)
        {
            offsets = new Array::Array2dInt32(newCapacity, 1, 0, 0);
            lengths = new Array::Array2dInt32(newCapacity, 1, 0, 0);
        }
        if ((storage->mDataSize > 0 && !storage->mData) ||
            (offsets && newCapacity > 0 && (!offsets->mData || !lengths->mData)))
        {
            delete storage;
            delete offsets;
            delete lengths;
            return NoMemory();
        }
        mCapacity = newCapacity;
        const int keep = std::min(oldCapacity, newCapacity);
        if (keepData && keep > 0)
        {
            std::memcpy(storage->mData, mStorage->mData,
                        static_cast<size_t>(keep) * static_cast<size_t>(mVectorLength) * sizeof(StorType));
            if (offsets)
            {
                Array::SetPart(offsets, mOffsets, 0, 0, keep, 1, 0, 0);
                Array::SetPart(lengths, mLengths, 0, 0, keep, 1, 0, 0);
            }
        }
        delete mStorage;
        delete mOffsets;
        delete mLengths;
        mStorage = storage;
        mOffsets = offsets;
        mLengths = lengths;
        if (mSize > mCapacity)
            mSize = mCapacity;
        return true;
    }

    virtual void Dump(int from, int to) { Dump(from, to, std::cout); }

    virtual void Dump(int from, int to, std::ostream& out)
    {
        if (to == -1)
            to = mSize;
        if (to < from)
            to = from;
        out << "Dumping VectorSet from " << from << " to " << to << " (set size=" << mSize
            << ", capacity=" << mCapacity << ")" << std::endl;
        for (int i = std::max(from, 0); i < to && i < mCapacity; ++i)
        {
            out << " " << i << " = (";
            const StorType* v = GetVectorData(i);
            const int length = GetVectorLength(i);
            for (int k = 0; k < length; ++k)
                out << (k ? "," : "") << v[k];
            out << ")" << std::endl;
        }
        out << std::endl;
    }

    bool mConstVectorSize;
    int32_t mVectorLength;
    int32_t mCapacity;
    int32_t mSize;
    ArrayT* mStorage;
    Array::Array2dInt32* mOffsets;
    Array::Array2dInt32* mLengths;

private:
    // The set stays as it was, so that it remains usable.
    static bool NoMemory()
    {
        std::cout << "VectorSet: could not resize, no memory" << std::endl;
        return false;
    }
};

extern template class VectorSet<Array::Array2dReal64>;

} // namespace Vector
} // namespace Core
} // namespace Tavlin

#endif
