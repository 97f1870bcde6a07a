// Reading one image file into an interleaved 8-bit RGB array: the whole file is read
// into memory, its magic bytes identify JPEG, PNG or the framework's raw array file,
// and that content, not the name, picks the decoder. A name that says otherwise only
// earns a warning.
#ifndef TAVLIN_CORE_ARRAY_READIMAGE_H
#define TAVLIN_CORE_ARRAY_READIMAGE_H

#include "core/array/Array2dTem.h"
#include "persistency/File.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// Values of ReadImageIdentity.
enum ImageIdentity
{
    ImageIdentityUnknown = 0,
    ImageIdentityJpg = 1,
    ImageIdentityPng = 2,
    ImageIdentityRaw = 3
};

// The magic tests on the first 14 bytes; 0 (after a logged error) when the buffer is
// too small or the content unknown.
int ReadImageIdentity(char* buffer, int size);

// Reads, identifies and decodes the file into dst, creating it when null. An
// unreadable file leaves dst as it was; the caller tests dst.
template <class ArrayT>
void ReadImage(ArrayT*& dst, Persistency::File file);

extern template void ReadImage<Array2dVec3UInt8>(Array2dVec3UInt8*&, Persistency::File);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
