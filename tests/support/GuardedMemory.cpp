#include "support/GuardedMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace TestSupport
{

GuardedMemory::GuardedMemory(const std::string& bytes)
    : mMapping(nullptr), mMappingSize(0), mData(nullptr), mSize(bytes.size())
{
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t dataPages = (mSize + page - 1) / page;
    mMappingSize = (dataPages + 1) * page;
    mMapping = mmap(nullptr, mMappingSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mMapping == MAP_FAILED)
        throw std::runtime_error("mmap failed");
    char* guard = static_cast<char*>(mMapping) + dataPages * page;
    if (mprotect(guard, page, PROT_NONE) != 0)
    {
        munmap(mMapping, mMappingSize);
        throw std::runtime_error("mprotect failed");
    }
    mData = guard - mSize;
    if (mSize > 0)
        std::memcpy(mData, bytes.data(), mSize);
}

GuardedMemory::~GuardedMemory()
{
    munmap(mMapping, mMappingSize);
}

} // namespace TestSupport
