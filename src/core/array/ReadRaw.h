// Readers of the framework's raw array file: a 200-byte text header ("version: ...,
// type: <word>, elemSize: ..., width: ..., height: ..., nr: ...") followed by nr arrays
// of one size, as native little-endian values (plain, or in runs of rows each stored
// as one chunked zlib stream) or as blank-separated text. Reading starts at the
// buffer's position, so several raw arrays may follow one another in a stream.
// Instances: Array2dReal64 ("real64"), Array2dUInt64 ("uint64"), Array2dVec3UInt8
// ("uint8", three values a pixel); ReadRawList for Array2dReal64 only.
#ifndef TAVLIN_CORE_ARRAY_READRAW_H
#define TAVLIN_CORE_ARRAY_READRAW_H

#include <string>
#include <vector>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Util
{
class IOBuffer;
}

namespace Core
{
namespace Array
{

// Parses the header for ArrayT's type word and element size; false, after a logged
// error, when the header is not one of ArrayT. Version 2 leaves width and height as
// they were. linesPerChunk is 0 unless a version 3 header gives it.
template <class ArrayT>
bool ReadRawHeader(Util::IOBuffer* buffer, long long* version, long long* binary, long long* elemSize,
                   long long* width, long long* height, long long* nr, std::string& compressor,
                   long long* linesPerChunk);

// Reads into dst, creating it (without border) when null. With nr above 1 every
// payload lands in the same array, so the last remains. dst stays null when the
// header is refused; a short payload is logged and leaves what arrived. True when
// everything announced arrived. A payload far beyond what the buffer holds is refused
// before anything is allocated.
template <class ArrayT>
bool ReadRaw(ArrayT*& dst, Util::IOBuffer* buffer);

// Array i of the list receives payload i; missing entries are created. True when
// every announced array arrived whole.
template <class ArrayT>
bool ReadRawList(std::vector<ArrayT*>& list, Util::IOBuffer* buffer);

extern template bool ReadRawHeader<Array2dReal64>(Util::IOBuffer*, long long*, long long*, long long*, long long*,
                                                  long long*, long long*, std::string&, long long*);
extern template bool ReadRawHeader<Array2dUInt64>(Util::IOBuffer*, long long*, long long*, long long*, long long*,
                                                  long long*, long long*, std::string&, long long*);
extern template bool ReadRawHeader<Array2dVec3UInt8>(Util::IOBuffer*, long long*, long long*, long long*,
                                                     long long*, long long*, long long*, std::string&, long long*);
extern template bool ReadRaw<Array2dReal64>(Array2dReal64*&, Util::IOBuffer*);
extern template bool ReadRaw<Array2dUInt64>(Array2dUInt64*&, Util::IOBuffer*);
extern template bool ReadRaw<Array2dVec3UInt8>(Array2dVec3UInt8*&, Util::IOBuffer*);
extern template bool ReadRawList<Array2dReal64>(std::vector<Array2dReal64*>&, Util::IOBuffer*);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
