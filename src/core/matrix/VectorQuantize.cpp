#include "core/matrix/VectorQuantize.h"

#include <algorithm>
#include <memory>

#include "core/matrix/MatCreate.h"
#include "core/matrix/MatNorm2Dist.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

using Array::Array2dReal64;

Array2dReal64* VectorQuantizeX(Array2dReal64* data, Array2dReal64* codebook)
{
    std::unique_ptr<Array2dReal64> distances(MatNorm2DistTransposed(data, codebook));
    if (!distances)
        return nullptr;
    const long long rows = distances->mHeight;
    const long long words = distances->mWidth;
    Array2dReal64* result = MatCreate<Array2dReal64>(static_cast<int>(rows), 2);
    const double* d = distances->mData;
    double* out = result->mData;
    for (long long i = 0; i < rows; ++i, d += words, out += 2)
    {
        double best = sVectorQuantizeFar;
        long long index = 0;
        for (long long j = 0; j < words; ++j)
        {
            if (best > d[j])
            {
                index = j;
                best = d[j];
            }
        }
        out[0] = static_cast<double>(index);
        out[1] = best;
    }
    return result;
}

long long VectorQuantizeBlockRows(long long codebookRows)
{
    // An empty codebook bounds nothing: the cap applies.
    const long long quotient = codebookRows > 0 ? 20000000 / codebookRows : 10000;
    return std::max(1LL, std::min(quotient, 10000LL));
}

Array2dReal64* VectorQuantize(Array2dReal64* data, Array2dReal64* codebook)
{
    const long long chunk = VectorQuantizeBlockRows(codebook->mHeight);
    const long long rows = data->mHeight;
    const long long width = data->mWidth;
    std::unique_ptr<Array2dReal64> result(MatCreate<Array2dReal64>(static_cast<int>(rows), 2));
    for (long long start = 0; start < rows; start += chunk)
    {
        const long long count = std::min(chunk, rows - start);
        std::unique_ptr<Array2dReal64> block(
            MatCreate<Array2dReal64>(static_cast<int>(count), static_cast<int>(width), data->mData + start * width, true));
        std::unique_ptr<Array2dReal64> part(VectorQuantizeX(block.get(), codebook));
        if (!part)
            return nullptr;
        std::copy_n(part->mData, count * 2, result->mData + start * 2);
    }
    return result.release();
}

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
