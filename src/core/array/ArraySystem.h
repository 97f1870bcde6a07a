// The process-wide tracker through which all array storage is taken and given back.
// It keeps one entry per live block (size, element size, serial number) and the bytes
// in use; with the category at DEBUG every allocation and release is logged.
#ifndef TAVLIN_CORE_ARRAY_ARRAYSYSTEM_H
#define TAVLIN_CORE_ARRAY_ARRAYSYSTEM_H

#include <cstdint>
#include <map>
#include <mutex>

namespace Tavlin
{
namespace Core
{
namespace Array
{

struct SysInf
{
    uint64_t mSize;     // element count
    uint64_t mElemSize; // bytes per element
    int32_t mId;        // serial number of the allocation
};

class ArraySystem
{
public:
    static ArraySystem& Instance();

    // Storage for n values, not cleared; the tag only selects the type. A failed
    // allocation is logged and yields null, which is tracked like any other block.
    // T: unsigned char, int, float, double, unsigned long long.
    template <class T>
    T* Allocate(unsigned long n, T tag = T());

    // Takes into account storage allocated elsewhere that an array now owns.
    template <class T>
    void External(unsigned long n, T* data);

    // Releases storage by operator delete; an unknown pointer is no error.
    template <class T>
    void Deallocate(T* p, unsigned long n);

    int64_t Usage() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mUsage;
    }
    int32_t AllocCount() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mAllocCount;
    }
    int32_t DeallocCount() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mDeallocCount;
    }
    // Null when the block is not tracked. The entry may change once another thread
    // releases the block.
    const SysInf* Find(const void* p) const;

    ArraySystem(const ArraySystem&) = delete;
    ArraySystem& operator=(const ArraySystem&) = delete;

private:
    ArraySystem() = default;
    ~ArraySystem() = default;

    // Counts an allocation and enters the block; returns the usage before, newUsage after.
    int64_t Track(const void* p, unsigned long n, unsigned long elemSize, int64_t& newUsage);

    // Guards the entries and the figures: arrays are made and released on any thread.
    mutable std::mutex mMutex;

    std::map<const void*, SysInf> mEntries;
    int64_t mUsage = 0;
    int32_t mAllocCount = 0;
    int32_t mDeallocCount = 0;
};

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
