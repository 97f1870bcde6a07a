// A small list of arrays with a name each, as two parallel vectors. It owns nothing:
// whoever fills it deletes the arrays. Instance: Array2dReal64.
#ifndef TAVLIN_CORE_ARRAY_ARRAYSET_H
#define TAVLIN_CORE_ARRAY_ARRAYSET_H

#include <string>
#include <vector>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template <class ArrayT>
class ArraySet
{
public:
    // n null arrays with empty names; none for n below 1.
    explicit ArraySet(int n)
    {
        if (n < 1)
            return;
        mArrays.assign(static_cast<size_t>(n), nullptr);
        mNames.assign(static_cast<size_t>(n), std::string());
    }

    int Size() const { return static_cast<int>(mArrays.size()); }

    std::vector<ArrayT*> mArrays;
    std::vector<std::string> mNames;
};

extern template class ArraySet<Array2dReal64>;

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
