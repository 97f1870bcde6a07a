// Reader of the table file: a text header followed by one raw array per column. The new
// form has a zero-padded header block of 1024 bytes ("tavlintableversion: 2, columns:
// %d, size: %d", then "key: value" lines naming the columns and the info string) and
// the arrays from byte 1152 on; the old form has the line "Tavlin::Table", the info
// line and nine column-name lines, with the arrays right behind them. Column 1 holds
// the Quids as a raw uint64 array (two rows of words, or one row of packed values),
// column 2 the vectors as a raw real64 array that becomes the vector storage.
//
// Tables of a Quid column and a vector column are the one kind stored this way, so the
// readers take that column set; a FeatureTable passes as it stands.
#ifndef TAVLIN_CORE_TABLE_READ_H
#define TAVLIN_CORE_TABLE_READ_H

#include "core/table/TableTem.h"

namespace Tavlin
{
namespace Util
{
class IOBuffer;
}

namespace Core
{
namespace Table
{

// Reads from the buffer's position. nrColumns -1 reads all columns; below 2 only the
// Quids. True when every column read arrived whole with the size the header gives;
// otherwise the errors are logged and the table holds what arrived, its size never
// beyond what its columns hold.
bool Read(FeatureTableTem* table, Util::IOBuffer* buffer, int nrColumns = -1);

// The rest of an old-form file, behind its info line: the nine column-name lines and
// the two columns; the size is that of column 1.
bool ReadOldHeader(FeatureTableTem* table, Util::IOBuffer* buffer);

} // namespace Table
} // namespace Core
} // namespace Tavlin

#endif
