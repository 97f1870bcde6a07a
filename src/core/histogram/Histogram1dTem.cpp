#include "core/histogram/Histogram1dTem.h"

#include <cstdlib>

namespace Tavlin
{
namespace Core
{
namespace Histogram
{

template <class T>
void Histogram1dTem<T>::Normalize()
{
    const T total = Total();
    // The test is on the total truncated to a 32-bit int; a total out of that range
    // would convert to INT_MIN on x86 and fail it, and is caught first since the
    // conversion itself is undefined.
    T divisor = 1.0;
    if (total > -2147483648.0 && total < 2147483648.0 && std::abs(static_cast<int>(total)) >= 1e-7)
        divisor = total;
    for (int i = 0; i < mBinCount; ++i)
        this->mData[i] /= divisor;
    if (mOutlierWeight != 0)
        mOutlierWeight /= divisor;
}

template class Histogram1dTem<double>;

} // namespace Histogram
} // namespace Core
} // namespace Tavlin
