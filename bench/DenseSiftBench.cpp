// Timing of dense SIFT on the grey channel of the 640 x 480 example photo (a synthetic
// image of that size when the photo can not be read), spacing 6 and cell size 4, in its
// stages: the oriented-gradient planes, the pooling (two matrix products per plane with
// the interpolators), the read-out of the descriptors, and the whole channel. Run with
// OPENBLAS_NUM_THREADS=1.
#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ExamplePhoto.h"
#include "core/feature/descriptor/DenseSift.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "core/feature/detector/MakeDenseInterpolator.h"
#include "core/matrix/MatMul.h"

using namespace Tavlin::Core;
using Array::Array2dReal64;

namespace
{

const int kSpacing = 6;
const int kCellSize = 4;

// The program keeps freed planes in the heap; so do the benchmarks, or every iteration
// would pay for faulting its planes in afresh.
const bool sHeapAsTheProgram = mallopt(M_MMAP_THRESHOLD, 64 << 20) && mallopt(M_TRIM_THRESHOLD, 256 << 20);

Array2dReal64* Grey()
{
    static std::unique_ptr<Array2dReal64> grey(Feature::GetColorChannels(ExamplePhoto(), "")[0]);
    return grey.get();
}

void Free(Array2dReal64* (&planes)[8])
{
    for (Array2dReal64*& plane : planes)
    {
        delete plane;
        plane = nullptr;
    }
}

void BM_DenseSiftGradientPlanes(benchmark::State& state)
{
    Array2dReal64* planes[8] = {};
    for (auto _ : state)
    {
        Feature::DenseSiftOrientedGradients(planes, Grey(), 1.0);
        benchmark::DoNotOptimize(planes[7]->mData);
        Free(planes);
    }
}

void BM_DenseSiftQuantizedPlanes(benchmark::State& state)
{
    Array2dReal64* planes[8] = {};
    for (auto _ : state)
    {
        Array2dReal64* magnitude = nullptr;
        Array2dReal64* angle = nullptr;
        Feature::DenseSiftGradient(magnitude, angle, Grey(), 1.0);
        Feature::DenseSiftQuantizeOrientation<8>(planes, angle, magnitude);
        benchmark::DoNotOptimize(planes[7]->mData);
        delete magnitude;
        delete angle;
        Free(planes);
    }
}

// The sixteen products of one channel, interpolators included; the planes are made
// once outside the timing.
void BM_DenseSiftPooling(benchmark::State& state)
{
    Array2dReal64* planes[8] = {};
    Feature::DenseSiftOrientedGradients(planes, Grey(), 1.0);
    for (auto _ : state)
    {
        std::unique_ptr<Array2dReal64> vertical(
            Feature::MakeDenseInterpolator<Array2dReal64>(480, kSpacing, kCellSize, true));
        std::unique_ptr<Array2dReal64> horizontal(
            Feature::MakeDenseInterpolator<Array2dReal64>(640, kSpacing, kCellSize, false));
        for (Array2dReal64* plane : planes)
        {
            std::unique_ptr<Array2dReal64> rows(Matrix::MatMul(vertical.get(), plane));
            std::unique_ptr<Array2dReal64> grid(Matrix::MatMul(rows.get(), horizontal.get()));
            benchmark::DoNotOptimize(grid->mData);
        }
    }
    Free(planes);
}

void BM_DenseSiftReadOut(benchmark::State& state)
{
    Array2dReal64* planes[8] = {};
    Feature::DenseSiftOrientedGradients(planes, Grey(), 1.0);
    std::unique_ptr<Array2dReal64> vertical(Feature::MakeDenseInterpolator<Array2dReal64>(480, kSpacing, kCellSize, true));
    std::unique_ptr<Array2dReal64> horizontal(
        Feature::MakeDenseInterpolator<Array2dReal64>(640, kSpacing, kCellSize, false));
    Array2dReal64* grids[8] = {};
    for (int o = 0; o < 8; ++o)
    {
        std::unique_ptr<Array2dReal64> rows(Matrix::MatMul(vertical.get(), planes[o]));
        grids[o] = Matrix::MatMul(rows.get(), horizontal.get());
    }
    for (auto _ : state)
    {
        std::unique_ptr<Feature::PointDescriptorTable> table(Feature::MakeSpatial<8>(grids, kSpacing, kCellSize, 4));
        benchmark::DoNotOptimize(table->GetDescriptor(0));
    }
    Free(planes);
    Free(grids);
}

void BM_DenseSiftChannel(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::unique_ptr<Feature::PointDescriptorTable> table(
            Feature::DoDenseSift(Grey(), kSpacing, kCellSize, 1.0, 4, false));
        benchmark::DoNotOptimize(table->GetDescriptor(0));
    }
}

void BM_DenseSiftWhole(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::unique_ptr<Feature::PointDescriptorTable> table(
            Feature::DenseSift(ExamplePhoto(), "dift", kSpacing, kCellSize, 1.0, 4));
        benchmark::DoNotOptimize(table->GetDescriptor(0));
    }
}

} // namespace

BENCHMARK(BM_DenseSiftGradientPlanes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DenseSiftQuantizedPlanes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DenseSiftPooling)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DenseSiftReadOut)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DenseSiftChannel)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DenseSiftWhole)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
