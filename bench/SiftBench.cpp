// Timing of the sparse SIFT family on the 640 x 480 example photo (a synthetic image
// of that size when the photo can not be read): a dense grid of about 8000 points
// (spacing 6, scale 1.2) for "sift" and "opponentsift", and a multi-scale point set
// such as a scale-space detector gives, spread over the ladder levels.
#include <benchmark/benchmark.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "core/array/ReadJpgFromMemory.h"
#include "core/feature/descriptor/CalculateFISTDescriptors.h"

using namespace Tavlin::Core;

namespace
{

std::unique_ptr<Array::Array2dVec3UInt8> LoadImage()
{
    std::string path = __FILE__;
    path = path.substr(0, path.rfind('/')) + "/../examples/astronaut.jpg";
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Array::Array2dVec3UInt8* image = nullptr;
    if (!bytes.empty())
        Array::ReadJpgFromMemory(image, bytes.data(), static_cast<int>(bytes.size()));
    if (image)
        return std::unique_ptr<Array::Array2dVec3UInt8>(image);
    image = new Array::Array2dVec3UInt8(640, 480, 0, 0);
    for (long long y = 0; y < 480; ++y)
        for (long long x = 0; x < 640; ++x)
            for (int c = 0; c < 3; ++c)
                image->PixelPtr(x, y)[c] =
                    static_cast<unsigned char>(127.5 + 60 * std::sin(0.05 * x * (c + 1)) + 60 * std::cos(0.07 * y + c));
    return std::unique_ptr<Array::Array2dVec3UInt8>(image);
}

Array::Array2dVec3UInt8* Image()
{
    static std::unique_ptr<Array::Array2dVec3UInt8> image = LoadImage();
    return image.get();
}

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
    Array::Array2dVec3UInt8* image = Image();
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
