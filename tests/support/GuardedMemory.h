// A copy of some bytes placed so that the byte after the last one lies on an
// inaccessible page: a reader that runs past the end faults at once, in any build.
#ifndef LUMISK_TESTS_SUPPORT_GUARDEDMEMORY_H
#define LUMISK_TESTS_SUPPORT_GUARDEDMEMORY_H

#include <cstddef>
#include <string>

namespace TestSupport
{

class GuardedMemory
{
public:
    explicit GuardedMemory(const std::string& bytes);
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    char* Data() const { return mData; }
    int Size() const { return static_cast<int>(mSize); }

private:
    void* mMapping;
    size_t mMappingSize;
    char* mData;
    size_t mSize;
};

} // namespace TestSupport

#endif
