// The entry through which the driver reads an input image: the file name's extension
// decides whether the file is read at all, as a raw array ("raw") or as an image
// ("jpg", "jpeg", "png", whose content then picks the decoder). Anything else is
// refused by name.
#ifndef TAVLIN_CORE_ARRAY_READFILE_H
#define TAVLIN_CORE_ARRAY_READFILE_H

#include "core/array/Array2dTem.h"
#include "persistency/File.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// Reads the file into dst, creating it when null. dst stays as it was when the file
// cannot be read; the caller tests dst.
template <class ArrayT>
void ReadFile(ArrayT*& dst, Persistency::File file);

extern template void ReadFile<Array2dVec3UInt8>(Array2dVec3UInt8*&, Persistency::File);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
