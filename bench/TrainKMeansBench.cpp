// k-means training of 1000 words on 100000 descriptors of 128 values, 10 iterations,
// beside the matrix products an iteration rests on: one product of the assignment's
// block shape (VectorQuantize's rows per block x 128 by 128 x 1000) and the products
// of all blocks of one iteration. Run single-threaded: OPENBLAS_NUM_THREADS=1.
#include <benchmark/benchmark.h>

#include <cblas.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "core/feature/codebook/TrainKMeans.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/VectorQuantize.h"

using namespace Tavlin::Core;

namespace
{
const int sPoints = 100000;
const int sDimension = 128;
const int sWords = 1000;
const int sIterations = 10;

// SIFT-like values around 64 clumps, so that the iterations have structure to find.
Array::Array2dReal64* Descriptors()
{
    Array::Array2dReal64* data = Matrix::MatCreate<Array::Array2dReal64>(sPoints, sDimension);
    unsigned state = 1;
    auto next = [&]() { return state = state * 1103515245u + 12345u, (state >> 8) % 512; };
    std::vector<double> clumps(64 * sDimension);
    for (double& v : clumps)
        v = static_cast<double>(next() % 200);
    for (long long i = 0; i < sPoints; ++i)
    {
        const double* c = clumps.data() + (next() % 64) * sDimension;
        for (int k = 0; k < sDimension; ++k)
            data->mData[i * sDimension + k] = c[k] + static_cast<double>(next() % 60);
    }
    return data;
}

void BM_TrainKMeans(benchmark::State& state)
{
    std::unique_ptr<Array::Array2dReal64> data(Descriptors());
    Feature::KMeansParam param;
    param.words = sWords;
    param.iterations = sIterations;
    for (auto _ : state)
    {
        std::unique_ptr<Array::Array2dReal64> words(Feature::TrainKMeans(data.get(), param));
        benchmark::DoNotOptimize(words->mData);
    }
}

void BM_Seeding(benchmark::State& state)
{
    std::unique_ptr<Array::Array2dReal64> data(Descriptors());
    for (auto _ : state)
    {
        std::unique_ptr<Array::Array2dReal64> words(Feature::SeedKMeansPlusPlus(data.get(), sWords, 1));
        benchmark::DoNotOptimize(words->mData);
    }
}

void BM_Assignment(benchmark::State& state)
{
    std::unique_ptr<Array::Array2dReal64> data(Descriptors());
    std::unique_ptr<Array::Array2dReal64> words(Feature::SeedKMeansPlusPlus(data.get(), sWords, 1));
    for (auto _ : state)
    {
        std::vector<int> assignment = Feature::AssignToWords(data.get(), words.get());
        benchmark::DoNotOptimize(assignment.data());
    }
}

long long BlockRows()
{
    return std::max(1LL, std::min(Matrix::VectorQuantizeBlockRows(sWords), (1LL << 19) / sWords));
}

// state.range(0): the number of block products, 1 or all those of one iteration.
void BM_Dgemm(benchmark::State& state)
{
    const long long rows = BlockRows();
    std::unique_ptr<Array::Array2dReal64> data(Descriptors());
    std::vector<double> b(static_cast<size_t>(sDimension) * sWords, 0.5), c(static_cast<size_t>(rows) * sWords);
    const long long blocks = state.range(0);
    for (auto _ : state)
    {
        for (long long start = 0, n = 0; n < blocks && start < sPoints; start += rows, ++n)
        {
            const int count = static_cast<int>(std::min(rows, sPoints - start));
            cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, count, sWords, sDimension, 1.0,
                        data->mData + start * sDimension, sDimension, b.data(), sWords, 0.0, c.data(), sWords);
        }
        benchmark::DoNotOptimize(c.data());
    }
    state.SetLabel(std::to_string(rows) + " x 128 by 128 x 1000");
}

} // namespace

BENCHMARK(BM_TrainKMeans)->Unit(benchmark::kMillisecond)->Iterations(1)->MeasureProcessCPUTime();
BENCHMARK(BM_Seeding)->Unit(benchmark::kMillisecond)->Iterations(1)->MeasureProcessCPUTime();
BENCHMARK(BM_Assignment)->Unit(benchmark::kMillisecond)->Iterations(3)->MeasureProcessCPUTime();
BENCHMARK(BM_Dgemm)->Arg(1)->Arg(1000)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

BENCHMARK_MAIN();
