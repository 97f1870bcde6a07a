#include "core/array/ArraySystem.h"

#include <new>

#include "basis/Report.h"
#include "util/MemoryInfo.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ArraySystem");
}

ArraySystem& ArraySystem::Instance()
{
    static ArraySystem sInstance;
    return sInstance;
}

const SysInf* ArraySystem::Find(const void* p) const
{
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mEntries.find(p);
    return it == mEntries.end() ? nullptr : &it->second;
}

int64_t ArraySystem::Track(const void* p, unsigned long n, unsigned long elemSize, int64_t& newUsage)
{
    std::lock_guard<std::mutex> lock(mMutex);
    const int64_t oldUsage = mUsage;
    ++mAllocCount;
    mUsage += static_cast<int64_t>(n * elemSize);
    newUsage = mUsage;
    SysInf& entry = mEntries[p];
    entry.mSize = n;
    entry.mElemSize = elemSize;
    entry.mId = mAllocCount - 1;
    return oldUsage;
}

// The stream prints its own 0x before the pointer; the doubled prefix is the format.
#define TAVLIN_ARRAYSYSTEM_LOG(word, p, n, elemSize, oldUsage, newUsage)                                     \
    TLOG_DEBUG(sLog, word << " (0x" << static_cast<const void*>(p) << ") " << n << " times " << elemSize      \
                          << ", usage from " << oldUsage << " to " << newUsage)

template <class T>
T* ArraySystem::Allocate(unsigned long n, T)
{
    T* p = nullptr;
    try
    {
        p = static_cast<T*>(::operator new(n * sizeof(T)));
    }
    catch (const std::bad_alloc&)
    {
        p = nullptr;
    }
    if (!p)
    {
        const std::string size = Process::MemoryInfo::Bytes2String(static_cast<int64_t>(n * sizeof(T)));
        TLOG_ERROR(sLog, "Couldn't allocate " << n << " x " << sizeof(T) << " (" << size << ")");
        Process::MemoryInfo::PrintUsage("At out of memory");
    }
    int64_t newUsage = 0;
    const int64_t oldUsage = Track(p, n, sizeof(T), newUsage);
    TAVLIN_ARRAYSYSTEM_LOG("Alloc", p, n, sizeof(T), oldUsage, newUsage);
    return p;
}

template <class T>
void ArraySystem::External(unsigned long n, T* data)
{
    int64_t newUsage = 0;
    const int64_t oldUsage = Track(data, n, sizeof(T), newUsage);
    TAVLIN_ARRAYSYSTEM_LOG("External", data, n, sizeof(T), oldUsage, newUsage);
}

template <class T>
void ArraySystem::Deallocate(T* p, unsigned long n)
{
    int64_t oldUsage = 0;
    int64_t newUsage = 0;
    {
        // Forgotten before the release, so that another thread's new block at the same
        // address cannot lose its entry.
        std::lock_guard<std::mutex> lock(mMutex);
        ++mDeallocCount;
        oldUsage = mUsage;
        mUsage -= static_cast<int64_t>(n * sizeof(T));
        newUsage = mUsage;
        mEntries.erase(p);
    }
    TAVLIN_ARRAYSYSTEM_LOG("Dealloc", p, n, sizeof(T), oldUsage, newUsage);
    ::operator delete(static_cast<void*>(p));
}

#undef TAVLIN_ARRAYSYSTEM_LOG

#define TAVLIN_ARRAYSYSTEM_INSTANCES(T)                                      \
    template T* ArraySystem::Allocate<T>(unsigned long, T);                  \
    template void ArraySystem::External<T>(unsigned long, T*);               \
    template void ArraySystem::Deallocate<T>(T*, unsigned long);

TAVLIN_ARRAYSYSTEM_INSTANCES(unsigned char)
TAVLIN_ARRAYSYSTEM_INSTANCES(int)
TAVLIN_ARRAYSYSTEM_INSTANCES(float)
TAVLIN_ARRAYSYSTEM_INSTANCES(double)
TAVLIN_ARRAYSYSTEM_INSTANCES(unsigned long long)

#undef TAVLIN_ARRAYSYSTEM_INSTANCES

} // namespace Array
} // namespace Core
} // namespace Tavlin
