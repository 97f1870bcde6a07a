#include "core/feature/codebook/TrainKMeans.h"

#include <cblas.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <utility>

#include "basis/Timer.h"
#include "core/feature/codebook/TrainingDescriptors.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/VectorQuantize.h"
#include "util/Random.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

long long KMeansSeedingRows(long long words)
{
    // The seeding is sequential in the words, so its cost is rows x words x D; a
    // sample of a few rows per word seeds as well as all of them.
    return std::max(4096LL, 8 * words);
}

Array2dReal64* SeedKMeansPlusPlus(Array2dReal64* data, int words, int64_t seed)
{
    const long long rows = data->mHeight;
    const long long width = data->mWidth;
    Util::Random random;
    random.SetSeed(seed);

    // The candidate rows, in file order.
    const long long count = std::min(rows, KMeansSeedingRows(words));
    std::vector<long long> pick(static_cast<size_t>(rows));
    std::iota(pick.begin(), pick.end(), 0LL);
    if (count < rows)
    {
        for (long long i = 0; i < count; ++i)
            std::swap(pick[i], pick[i + RandomBelow(random, rows - i)]);
        pick.resize(static_cast<size_t>(count));
        std::sort(pick.begin(), pick.end());
    }
    std::vector<double> x(static_cast<size_t>(count * width));
    std::vector<double> xx(static_cast<size_t>(count), 0.0);
    for (long long i = 0; i < count; ++i)
    {
        const double* src = data->mData + pick[i] * width;
        std::memcpy(x.data() + i * width, src, static_cast<size_t>(width) * sizeof(double));
        for (long long k = 0; k < width; ++k)
            xx[i] += src[k] * src[k];
    }

    std::unique_ptr<Array2dReal64> result(Matrix::MatCreate<Array2dReal64>(words, static_cast<int>(width)));
    std::vector<double> nearest(static_cast<size_t>(count), 0.0);
    std::vector<double> dot(static_cast<size_t>(count));
    long long chosen = RandomBelow(random, count);
    for (int w = 0; w < words; ++w)
    {
        if (w > 0)
        {
            double total = 0.0;
            for (long long i = 0; i < count; ++i)
                total += nearest[i];
            if (total > 0.0)
            {
                const double target = RandomUnit(random) * total;
                double running = 0.0;
                chosen = count - 1;
                for (long long i = 0; i < count; ++i)
                {
                    running += nearest[i];
                    if (running > target && nearest[i] > 0.0)
                    {
                        chosen = i;
                        break;
                    }
                }
            }
            else
            {
                // Every candidate is a word already: only duplicates are left.
                chosen = RandomBelow(random, count);
            }
        }
        const double* c = x.data() + chosen * width;
        std::memcpy(result->mData + static_cast<long long>(w) * width, c, static_cast<size_t>(width) * sizeof(double));
        // |x - c|^2 = |x|^2 + |c|^2 - 2 x.c for all candidates by one product.
        cblas_dgemv(CblasRowMajor, CblasNoTrans, static_cast<int>(count), static_cast<int>(width), 1.0, x.data(),
                    static_cast<int>(width), c, 1, 0.0, dot.data(), 1);
        const double cc = xx[chosen];
        for (long long i = 0; i < count; ++i)
        {
            const double cross = -2.0 * dot[i];
            double d = (xx[i] + cc) + cross;
            d = d > 0.0 ? d : 0.0;
            if (w == 0 || d < nearest[i])
                nearest[i] = d;
        }
        nearest[chosen] = 0.0;
    }
    return result.release();
}

std::vector<int> AssignToWords(Array2dReal64* data, Array2dReal64* words, std::vector<double>* squared)
{
    std::unique_ptr<Array2dReal64> nearest(Matrix::VectorQuantize(data, words));
    const long long rows = data->mHeight;
    std::vector<int> assignment(static_cast<size_t>(rows), 0);
    if (squared)
        squared->assign(static_cast<size_t>(rows), 0.0);
    if (!nearest)
        return assignment;
    const double* p = nearest->mData;
    for (long long i = 0; i < rows; ++i, p += 2)
    {
        assignment[i] = static_cast<int>(p[0]);
        if (squared)
            (*squared)[i] = p[1] * p[1];
    }
    return assignment;
}

Array2dReal64* TrainKMeans(Array2dReal64* data, const KMeansParam& param)
{
    const long long rows = data->mHeight;
    const long long width = data->mWidth;
    const int words = param.words;
    std::unique_ptr<Array2dReal64> centres(SeedKMeansPlusPlus(data, words, param.seed));

    Timer timer(1);
    timer.Start();
    std::vector<int> previous;
    std::vector<double> squared;
    std::vector<double> sums(static_cast<size_t>(words * width));
    std::vector<long long> counts(static_cast<size_t>(words));
    for (int iteration = 1; iteration <= param.iterations; ++iteration)
    {
        std::vector<int> assignment = AssignToWords(data, centres.get(), &squared);
        long long changed = 0;
        for (long long i = 0; i < rows; ++i)
            changed += previous.empty() || previous[i] != assignment[i];
        double objective = 0.0;
        for (long long i = 0; i < rows; ++i)
            objective += squared[i];
        objective /= static_cast<double>(rows);
        if (param.progress)
            *param.progress << "kmeans iteration " << iteration << ": objective " << objective << ", changed "
                            << changed << ", " << timer.SplitTime() << " s" << std::endl;
        if (changed == 0)
            break;
        previous = std::move(assignment);

        // Each word becomes the mean of its descriptors, summed in file order.
        std::fill(sums.begin(), sums.end(), 0.0);
        std::fill(counts.begin(), counts.end(), 0LL);
        const double* x = data->mData;
        for (long long i = 0; i < rows; ++i, x += width)
        {
            double* sum = sums.data() + static_cast<long long>(previous[i]) * width;
            for (long long k = 0; k < width; ++k)
                sum[k] += x[k];
            ++counts[previous[i]];
        }
        std::vector<int> empty;
        for (int w = 0; w < words; ++w)
        {
            if (counts[w] == 0)
            {
                empty.push_back(w);
                continue;
            }
            const double scale = 1.0 / static_cast<double>(counts[w]);
            double* c = centres->mData + static_cast<long long>(w) * width;
            const double* sum = sums.data() + static_cast<long long>(w) * width;
            for (long long k = 0; k < width; ++k)
                c[k] = sum[k] * scale;
        }
        if (!empty.empty())
        {
            // The descriptors farthest from their words, the first of equals winning.
            std::vector<long long> order(static_cast<size_t>(rows));
            std::iota(order.begin(), order.end(), 0LL);
            const size_t needed = std::min(empty.size(), order.size());
            std::partial_sort(order.begin(), order.begin() + static_cast<long>(needed), order.end(),
                              [&](long long a, long long b) {
                                  return squared[a] > squared[b] || (squared[a] == squared[b] && a < b);
                              });
            for (size_t e = 0; e < needed; ++e)
                std::memcpy(centres->mData + static_cast<long long>(empty[e]) * width, data->mData + order[e] * width,
                            static_cast<size_t>(width) * sizeof(double));
        }
    }
    return centres.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
