// The residual statistics of a codebook that the sdc and mdc modes read: for each word
// and dimension, over the descriptors nearest that word (found as the projection finds
// them), the lowest and the highest residual (descriptor - word) and the standard
// deviation of the residuals. A word without descriptors takes the statistics of all
// residuals of the dimension, and a deviation of 0 is replaced by that of all
// residuals (or 1 when it is 0 as well), so that the modes never divide by zero.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_TRAINDIFFSTAT_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_TRAINDIFFSTAT_H

#include "core/array/Array2dTem.h"
#include "core/matrix/MatList.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// Appends lower ends, upper ends and deviations, each words x D, to `statistics` (the
// caller owns them). Data and codebook share their width; data has rows.
void TrainDiffStat(Array::Array2dReal64* data, Array::Array2dReal64* codebook, Matrix::MatList& statistics);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
