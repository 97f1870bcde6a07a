// Heap settings for a process that makes and frees many image-sized planes.
#ifndef TAVLIN_UTIL_PLANEHEAP_H
#define TAVLIN_UTIL_PLANEHEAP_H

#include <cstddef>

namespace Tavlin
{
namespace Process
{

// Keeps freed planes in the heap instead of handing them back to the system, and
// grows the heap once by `reserve` bytes of address space, advised for transparent
// huge pages where the system offers them on request. Only pages that are touched
// count; each huge page then costs one fault instead of 512. Returns the bytes so
// advised, 0 when the system refused (the heap then works as before).
size_t SetUpPlaneHeap(size_t reserve);

} // namespace Process
} // namespace Tavlin

#endif
