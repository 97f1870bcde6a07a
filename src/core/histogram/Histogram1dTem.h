// A one-dimensional histogram of equal bins over [low, high): the bin values are the
// vector's data, values that fall outside collect in an outlier weight. The bins may
// live in someone else's block (a row of a descriptor store), so that filling them
// costs no allocation.
#ifndef TAVLIN_CORE_HISTOGRAM_HISTOGRAM1DTEM_H
#define TAVLIN_CORE_HISTOGRAM_HISTOGRAM1DTEM_H

#include <algorithm>

#include "core/vector/VectorTem.h"

namespace Tavlin
{
namespace Core
{
namespace Histogram
{

template <class T>
class Histogram1dTem : public Vector::VectorTem<T>
{
public:
    // All bins and the outlier weight 0. With data null the bins are owned, otherwise
    // they are data's first `bins` values.
    Histogram1dTem(double low, double high, int bins, T* data = nullptr)
        : Vector::VectorTem<T>(bins > 0 ? bins : 0, data ? data : (bins > 0 ? new T[bins] : nullptr), data != nullptr),
          mLow(low),
          mHigh(high),
          mBinWidth((high - low) / bins),
          mBinCount(bins > 0 ? bins : 0),
          mOutlierWeight(0)
    {
        std::fill(this->mData, this->mData + mBinCount, T(0));
    }

    // The bin of `value`: its distance from low in bin widths, truncated towards zero,
    // so values up to one bin width below low still land in bin 0. -1 for an outlier.
    int BinOf(double value) const
    {
        const double position = (value - mLow) / mBinWidth;
        // Out of int range or NaN converts to INT_MIN on x86, an outlier as well; the
        // conversion itself would be undefined.
        if (!(position > -2147483648.0 && position < 2147483648.0))
            return -1;
        const int i = static_cast<int>(position);
        return i >= 0 && i < mBinCount ? i : -1;
    }

    void Add(double value, T weight)
    {
        const int i = BinOf(value);
        if (i < 0)
            mOutlierWeight += weight;
        else
            this->mData[i] += weight;
    }

    T Total() const
    {
        T total = 0;
        for (int i = 0; i < mBinCount; ++i)
            total += this->mData[i];
        return total;
    }

    // Divides by the total of the bins, unless its integer part is 0: a total below 1
    // leaves the histogram as it is.
    void Normalize();

    double Low() const { return mLow; }
    double High() const { return mHigh; }
    double BinWidth() const { return mBinWidth; }
    int BinCount() const { return mBinCount; }
    T OutlierWeight() const { return mOutlierWeight; }

private:
    double mLow;
    double mHigh;
    double mBinWidth;
    int mBinCount;
    T mOutlierWeight;
};

extern template class Histogram1dTem<double>;

} // namespace Histogram
} // namespace Core
} // namespace Tavlin

#endif
