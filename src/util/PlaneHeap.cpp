#include "util/PlaneHeap.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace Tavlin
{
namespace Process
{

size_t SetUpPlaneHeap(size_t reserve)
{
    // A plane of a 12 MP image with its border is about 100 MB, so the limits are well
    // above that: returning planes and faulting them in again costs more than filtering.
    const int keep = 1 << 30;
    mallopt(M_MMAP_THRESHOLD, keep);
    mallopt(M_TRIM_THRESHOLD, keep);
    if (reserve == 0 || reserve >= static_cast<size_t>(keep) / 2)
        return 0;
    const uintptr_t before = reinterpret_cast<uintptr_t>(sbrk(0));
    // Taken from the top of the heap and given back to it: the address space stays.
    // (Through a volatile pointer, as the compiler may drop an unused pair.)
    void* volatile block = std::malloc(reserve);
    std::free(block);
    const uintptr_t after = reinterpret_cast<uintptr_t>(sbrk(0));
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    if (before == static_cast<uintptr_t>(-1) || after <= before || page == 0)
        return 0;
    const uintptr_t first = (before + page - 1) / page * page;
    if (after <= first)
        return 0;
    const size_t length = static_cast<size_t>(after - first);
    if (madvise(reinterpret_cast<void*>(first), length, MADV_HUGEPAGE) != 0)
        return 0;
    return length;
}

} // namespace Process
} // namespace Tavlin
