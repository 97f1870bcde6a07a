// The two file formats in which points and their descriptors leave the system and come
// back: the text format VESK1 (six significant digits a value) and the binary format
// BINDESC1 (a 32-byte header, then all point rows, then all descriptor rows, native
// doubles). The functions work on two matrices and a buffer and know nothing of
// tables. Points are rows of x, y, scale, orientation, cornerness as they stand in the
// file; descriptors one row per point, or null for none.
#ifndef TAVLIN_CORE_FEATURE_POINTDESCRIPTORIO_H
#define TAVLIN_CORE_FEATURE_POINTDESCRIPTORIO_H

#include <string>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Util
{
class IOBuffer;
}

namespace Core
{
namespace Feature
{

// Writes VESK1 with `type` after the "<" of each point line. A descriptor matrix of
// another height is reported; rows it lacks are written as zeros. False when the
// buffer or the points are missing or the buffer took less than was written.
bool WriteVESK1ToBuffer(Util::IOBuffer* buffer, Array::Array2dReal64* points, Array::Array2dReal64* descriptors,
                        std::string type);

// Writes BINDESC1; `type` must be 8 characters long, otherwise "UNKNOWN " is written.
// Same rules for heights and result as the text writer.
bool WriteBINDESC1ToBuffer(Util::IOBuffer* buffer, Array::Array2dReal64* points, Array::Array2dReal64* descriptors,
                           std::string type);

// Reads either format into new matrices owned by the caller, only those asked for;
// the others are left untouched, and nothing is handed out on failure. Returns the
// stored type of a binary file, "CIRCLE" for a text file, "ERROR" when neither magic
// matches and an empty string on other failures. A text point line that does not start
// with "<CIRCLE " when points are wanted throws "Unsupported serialization type!".
std::string ReadBINDESC1FromBuffer(Array::Array2dReal64*& points, Array::Array2dReal64*& descriptors,
                                   Util::IOBuffer* buffer, bool readPoints, bool readDescriptors);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
