// The number of words of a codebook held as a table (the random forest's word table):
// the identifier of the last row's Quid plus one. Rows are taken to be numbered 0 to
// n - 1 in order; the size of the table is not consulted.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_GETCODEBOOKLENGTH_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_GETCODEBOOKLENGTH_H

#include "core/feature/FeatureTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// The second word of the last row's Quid, read as a 32-bit integer, plus one; 0 after
// a reported error for a null or empty table.
int GetCodebookLength(FeatureTable* table);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
