// Timing of the sparse SIFT family on the 640 x 480 example photo (a synthetic image
// of that size when the photo can not be read): a dense grid of about 8000 points
// (spacing 6, scale 1.2) for "sift" and "opponentsift", and a multi-scale point set
// such as a scale-space detector gives, spread over the ladder levels.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ExamplePhoto.h"
#include "core/feature/descriptor/CalculateFISTDescriptors.h"

using namespace Tavlin::Core;

namespace
{

std::unique_ptr<Feature::PointDescriptorTable> DenseGrid(Array::Array2dVec3UInt8* image)
{
    auto table = std::make_unique<Feature::PointDescriptorTable>(Feature::FeatureDefinition(""));
    for (long long y = 3; y < image->mHeight; y += 6)
        for (long long x = 3; x < image->mWidth; x += 6)
            table->AddPoint(x, y, 1.2, 0.0, 0.0);
    return table;
}

// 1500 points on scales 1.2 x 1.4^k, k = 0 .. 11, as a Harris-Laplace run may give.
std::unique_ptr<Feature::PointDescriptorTable> MultiScale(Array::Array2dVec3UInt8* image)
{
    auto table = std::make_unique<Feature::PointDescriptorTable>(Feature::FeatureDefinition(""));
    unsigned state = 7;
    for (int i = 0; i < 1500; ++i)
    {
        state = state * 1664525u + 1013904223u;
        const long long x = (state >> 8) % image->mWidth;
        state = state * 1664525u + 1013904223u;
        const long long y = (state >> 8) % image->mHeight;
        const int k = i < 1200 ? i % 4 : 4 + i % 8;
        table->AddPoint(x, y, 1.2 * std::pow(1.4, k), 0.0, 0.0);
    }
    return table;
}

void Run(benchmark::State& state, const char* name, bool dense)
{
    Array::Array2dVec3UInt8* image = ExamplePhoto();
    auto table = dense ? DenseGrid(image) : MultiScale(image);
    for (auto _ : state)
    {
        Feature::CalculateFISTDescriptors(image, table.get(), name);
        benchmark::DoNotOptimize(table->GetDescriptor(0));
    }
    state.counters["points"] = table->Size();
}

void BM_DenseSift(benchmark::State& state) { Run(state, "sift", true); }
void BM_DenseOpponentSift(benchmark::State& state) { Run(state, "opponentsift", true); }
void BM_MultiScaleSift(benchmark::State& state) { Run(state, "sift", false); }

} // namespace

BENCHMARK(BM_DenseSift)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DenseOpponentSift)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MultiScaleSift)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
