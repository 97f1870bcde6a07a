#include "core/matrix/MatInverse.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

template <class MatT>
MatT* MatInverse(MatT* m)
{
    typedef typename MatT::StorType StorType;
    if (m->mWidth != m->mHeight)
    {
        std::cerr << "MatInverse: matrix is not square!" << std::endl;
        return nullptr;
    }
    const long long n = m->mWidth;
    std::unique_ptr<MatT> result(MatCreate<MatT>(static_cast<int>(n), static_cast<int>(n)));
    std::vector<StorType> a(m->mData, m->mData + n * n);
    std::vector<StorType> scale(static_cast<size_t>(n));
    std::vector<long long> pivot(static_cast<size_t>(n));

    for (long long i = 0; i < n; ++i)
    {
        const StorType* row = &a[i * n];
        StorType big = 0.0;
        for (long long j = 0; j < n; ++j)
        {
            const StorType value = std::fabs(row[j]);
            if (value > big)
                big = value;
        }
        if (big == 0.0)
        {
            std::cerr << "MatInverse: singular matrix can't be inverted." << std::endl;
            return nullptr;
        }
        scale[i] = 1.0 / big;
    }

    // Crout's order: column j of U above the diagonal, then of L from it down, each
    // element reduced term by term from its own value.
    for (long long j = 0; j < n; ++j)
    {
        for (long long i = 0; i < j; ++i)
        {
            StorType* rowI = &a[i * n];
            StorType sum = rowI[j];
            for (long long k = 0; k < i; ++k)
                sum -= rowI[k] * a[k * n + j];
            rowI[j] = sum;
        }
        StorType big = 0.0;
        long long best = 0;
        for (long long i = j; i < n; ++i)
        {
            StorType* rowI = &a[i * n];
            StorType sum = rowI[j];
            for (long long k = 0; k < j; ++k)
                sum -= rowI[k] * a[k * n + j];
            rowI[j] = sum;
            const StorType merit = scale[i] * std::fabs(sum);
            if (merit >= big)
            {
                big = merit;
                best = i;
            }
        }
        if (best != j)
        {
            std::swap_ranges(&a[best * n], &a[best * n] + n, &a[j * n]);
            scale[best] = scale[j];
        }
        pivot[j] = best;
        if (a[j * n + j] == 0.0)
            a[j * n + j] = 1e-12;
        if (j != n - 1)
        {
            const StorType inverse = 1.0 / a[j * n + j];
            for (long long i = j + 1; i < n; ++i)
                a[i * n + j] *= inverse;
        }
    }

    std::vector<StorType> b(static_cast<size_t>(n));
    StorType* out = result->mData;
    for (long long col = 0; col < n; ++col)
    {
        std::fill(b.begin(), b.end(), 0.0);
        b[col] = 1.0;
        // Forward substitution, the row swaps applied on the way; the sums start at the
        // first nonzero entry.
        long long first = -1;
        for (long long i = 0; i < n; ++i)
        {
            const long long p = pivot[i];
            StorType sum = b[p];
            b[p] = b[i];
            if (first >= 0)
            {
                const StorType* rowI = &a[i * n];
                for (long long k = first; k < i; ++k)
                    sum -= rowI[k] * b[k];
            }
            else if (sum != 0.0)
            {
                first = i;
            }
            b[i] = sum;
        }
        for (long long i = n - 1; i >= 0; --i)
        {
            const StorType* rowI = &a[i * n];
            StorType sum = b[i];
            for (long long k = i + 1; k < n; ++k)
                sum -= rowI[k] * b[k];
            b[i] = sum / rowI[i];
        }
        for (long long i = 0; i < n; ++i)
            out[i * n + col] = b[i];
    }
    return result.release();
}

template Array::Array2dReal64* MatInverse<Array::Array2dReal64>(Array::Array2dReal64*);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
