// Turns a stored codebook into a matrix: one row per visual word, one column per
// descriptor dimension. The form is sniffed from the first 2048 bytes: a descriptor
// file (VESK1 or BINDESC1, whose descriptors are the words), a raw array ("version: ",
// the usual output of codebook training), or else a table file, whose vector column
// holds the words. The caller owns what is returned; the buffer stays open.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_READCODEBOOK_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_READCODEBOOK_H

#include "core/array/Array2dTem.h"
#include "core/feature/FeatureTable.h"

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

// Reads from the buffer's start. Null after a logged error when the buffer is null or
// the stored form could not be read whole.
Array::Array2dReal64* ReadCodebookFromBuffer(Util::IOBuffer* buffer);

// The buffer, from its start, as a table file: Quid column "object" and vector column
// "values". Null after a logged error when it is not one. The random forest's word
// table is read this way too.
FeatureTable* ReadCodebookTable(Util::IOBuffer* buffer);

// One row per matrix row, numbered by the row index as the Quid's object number; the
// values are copied. Null after a logged error for a null matrix.
FeatureTable* ReadCodebook_MatToFeatureTable(Array::Array2dReal64* matrix);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
