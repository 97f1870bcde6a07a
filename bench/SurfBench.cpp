// Timing of the dense Haar descriptor alone, without decoding or writing: "surf" and
// "rgbsurf" on a synthetic 640 x 480 colour image (7828 grid points with the default
// sizes), and the block reductions on one plane of that size.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include "core/array/IntegrateReduce.h"
#include "core/feature/descriptor/CalculateSurfDescriptors.h"

using namespace Tavlin::Core;

namespace
{

std::unique_ptr<Array::Array2dVec3UInt8> MakeImage()
{
    auto image = std::make_unique<Array::Array2dVec3UInt8>(640, 480, 0, 0);
    for (long long y = 0; y < 480; ++y)
        for (long long x = 0; x < 640; ++x)
            for (int c = 0; c < 3; ++c)
                image->PixelPtr(x, y)[c] =
                    static_cast<unsigned char>(127.5 + 60 * std::sin(0.05 * x * (c + 1)) + 60 * std::cos(0.07 * y + c));
    return image;
}

void BM_CalculateSurfDescriptors(benchmark::State& state, const char* name)
{
    std::unique_ptr<Array::Array2dVec3UInt8> image = MakeImage();
    for (auto _ : state)
    {
        Feature::PointDescriptorTable table(Feature::FeatureDefinition("none"));
        Feature::CalculateSurfDescriptors(image.get(), &table, name, 3, 2, 4);
        benchmark::DoNotOptimize(table.GetDescriptor(0));
    }
}
BENCHMARK_CAPTURE(BM_CalculateSurfDescriptors, surf, "surf")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CalculateSurfDescriptors, rgbsurf, "rgbsurf")->Unit(benchmark::kMillisecond);

void BM_IntegrateReduce(benchmark::State& state)
{
    const bool weighted = state.range(0) != 0;
    Array::Array2dReal64 plane(640, 480, 0, 0);
    for (long long k = 0; k < 640 * 480; ++k)
        plane.mData[k] = static_cast<double>(k % 251);
    Array::Array2dReal64* result = nullptr;
    for (auto _ : state)
    {
        if (weighted)
            Array::IntegrateReduceWeighted(result, &plane, 2);
        else
            Array::IntegrateReduce(result, &plane, 3);
        benchmark::DoNotOptimize(result->mData);
    }
    delete result;
}
BENCHMARK(BM_IntegrateReduce)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
