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
    auto it = mEntries.find(p);
    return it == mEntries.end() ? nullptr : &it->second;
}

void ArraySystem::Track(const char* word, const void* p, unsigned long n, unsigned long elemSize,
                        int64_t oldUsage)
{
    // The stream prints its own 0x before the pointer; the doubled prefix is the format.
    TLOG_DEBUG(sLog, word << " (0x" << p << ") " << n << " times " << elemSize << ", usage from "
                          << oldUsage << " to " << mUsage);
    SysInf& entry = mEntries[p];
    entry.mSize = n;
    entry.mElemSize = elemSize;
    entry.mId = mAllocCount - 1;
}

template <class T>
T* ArraySystem::Allocate(unsigned long n, T)
{
    const int64_t oldUsage = mUsage;
    ++mAllocCount;
    mUsage += static_cast<int64_t>(n * sizeof(T));
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
    Track("Alloc", p, n, sizeof(T), oldUsage);
    return p;
}

template <class T>
void ArraySystem::External(unsigned long n, T* data)
{
    const int64_t oldUsage = mUsage;
    ++mAllocCount;
    mUsage += static_cast<int64_t>(n * sizeof(T));
    Track("External", data, n, sizeof(T), oldUsage);
}

template <class T>
void ArraySystem::Deallocate(T* p, unsigned long n)
{
    ++mDeallocCount;
    const int64_t oldUsage = mUsage;
    mUsage -= static_cast<int64_t>(n * sizeof(T));
    // Logged and forgotten before the release, so the pointer is never used once freed.
    TLOG_DEBUG(sLog, "Dealloc (0x" << static_cast<const void*>(p) << ") " << n << " times " << sizeof(T)
                                   << ", usage from " << oldUsage << " to " << mUsage);
    mEntries.erase(p);
    ::operator delete(static_cast<void*>(p));
}

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
