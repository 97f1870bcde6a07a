#include "core/feature/codebook/TrainDiffStat.h"

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "core/feature/codebook/TrainKMeans.h"
#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

void TrainDiffStat(Array2dReal64* data, Array2dReal64* codebook, Matrix::MatList& statistics)
{
    const long long rows = data->mHeight;
    const long long width = data->mWidth;
    const long long words = codebook->mHeight;
    const std::vector<int> assignment = AssignToWords(data, codebook);

    std::unique_ptr<Array2dReal64> lower(Matrix::MatCreate<Array2dReal64>(static_cast<int>(words), static_cast<int>(width)));
    std::unique_ptr<Array2dReal64> upper(Matrix::MatCreate<Array2dReal64>(static_cast<int>(words), static_cast<int>(width)));
    std::unique_ptr<Array2dReal64> deviation(
        Matrix::MatCreate<Array2dReal64>(static_cast<int>(words), static_cast<int>(width)));
    // Row `words` of each holds the statistics of all residuals.
    const size_t cells = static_cast<size_t>((words + 1) * width);
    std::vector<double> low(cells, std::numeric_limits<double>::infinity());
    std::vector<double> high(cells, -std::numeric_limits<double>::infinity());
    std::vector<double> sum(cells, 0.0), squares(cells, 0.0);
    std::vector<long long> counts(static_cast<size_t>(words + 1), 0);
    const long long all = words * width;

    // Two passes, mean first, then the squared deviations from it.
    for (int pass = 0; pass < 2; ++pass)
    {
        const double* x = data->mData;
        for (long long i = 0; i < rows; ++i, x += width)
        {
            const long long offset = static_cast<long long>(assignment[i]) * width;
            const double* word = codebook->mData + offset;
            for (long long k = 0; k < width; ++k)
            {
                const double r = x[k] - word[k];
                for (long long cell : {offset + k, all + k})
                {
                    if (pass == 0)
                    {
                        sum[cell] += r;
                        low[cell] = r < low[cell] ? r : low[cell];
                        high[cell] = r > high[cell] ? r : high[cell];
                    }
                    else
                    {
                        const double d = r - sum[cell];
                        squares[cell] += d * d;
                    }
                }
            }
            if (pass == 0)
            {
                ++counts[assignment[i]];
                ++counts[words];
            }
        }
        if (pass == 0)
            for (long long w = 0; w <= words; ++w)
                for (long long k = 0; k < width; ++k)
                    if (counts[w] > 0)
                        sum[w * width + k] /= static_cast<double>(counts[w]);
    }

    for (long long w = 0; w < words; ++w)
    {
        for (long long k = 0; k < width; ++k)
        {
            const long long cell = w * width + k;
            const long long pooled = all + k;
            const long long own = counts[w] > 0 ? cell : pooled;
            const long long n = counts[w] > 0 ? counts[w] : counts[words];
            double s = std::sqrt(squares[own] / static_cast<double>(n));
            if (!(s > 0.0))
                s = std::sqrt(squares[pooled] / static_cast<double>(counts[words]));
            lower->mData[cell] = low[own];
            upper->mData[cell] = high[own];
            deviation->mData[cell] = s > 0.0 ? s : 1.0;
        }
    }
    statistics.push_back(lower.release());
    statistics.push_back(upper.release());
    statistics.push_back(deviation.release());
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
