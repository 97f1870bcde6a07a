// A plain vector of values: a size and a block of data that the vector owns, unless it
// is a wrapper over someone else's block. Copies of an owning vector duplicate the
// data; copies of a wrapper wrap the same data. Vectors travel by value into tables
// and quantizers, so the copy rule matters.
#ifndef TAVLIN_CORE_VECTOR_VECTORTEM_H
#define TAVLIN_CORE_VECTOR_VECTORTEM_H

#include <algorithm>
#include <cstdint>

namespace Tavlin
{
namespace Core
{
namespace Vector
{

template <class T>
class VectorTem
{
public:
    // An owning vector of `size` values, not cleared.
    explicit VectorTem(int size = 0)
        : mSize(size), mData(size > 0 ? new T[size] : nullptr), mIsWrapper(false)
    {
    }

    // With isWrapper false the vector takes `data` over; it must come from new[].
    VectorTem(int size, T* data, bool isWrapper) : mSize(size), mData(data), mIsWrapper(isWrapper) {}

    VectorTem(const VectorTem& other)
        : mSize(other.mSize), mData(other.mData), mIsWrapper(other.mIsWrapper)
    {
        if (!mIsWrapper)
            mData = Duplicate(other);
    }

    VectorTem& operator=(const VectorTem& other)
    {
        if (this == &other)
            return *this;
        T* data = other.mIsWrapper ? other.mData : Duplicate(other);
        Release();
        mSize = other.mSize;
        mData = data;
        mIsWrapper = other.mIsWrapper;
        return *this;
    }

    virtual ~VectorTem() { Release(); }

    int Size() const { return mSize; }
    T* Data() const { return mData; }
    bool IsWrapper() const { return mIsWrapper; }
    T& operator[](int i) { return mData[i]; }
    const T& operator[](int i) const { return mData[i]; }

    int32_t mSize;
    T* mData;
    bool mIsWrapper;

private:
    static T* Duplicate(const VectorTem& other)
    {
        if (other.mSize <= 0 || !other.mData)
            return nullptr;
        T* data = new T[other.mSize];
        std::copy(other.mData, other.mData + other.mSize, data);
        return data;
    }

    void Release()
    {
        if (!mIsWrapper)
            delete[] mData;
        mData = nullptr;
    }
};

extern template class VectorTem<double>;

} // namespace Vector
} // namespace Core
} // namespace Tavlin

#endif
