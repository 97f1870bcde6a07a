// Timing of the Harris-Laplace detector (default configuration: finite Gaussian path,
// precision 5, radius 3, thresholds 1e-9, 0.06, 0.03) on the example photo, and of the
// Laplacian detector. With the argument --mp=N (before the benchmark options) it
// instead runs the detector once on a synthetic N-megapixel image and prints the peak
// resident memory, for the memory figure.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include "core/array/ArrayFactories.h"
#include "core/array/ReadJpgFromMemory.h"
#include "core/feature/detector/HarrisLaplaceDetector.h"
#include "core/feature/detector/LaplacianDetector.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Feature;

namespace
{

std::string ExamplePath()
{
    std::string here = __FILE__;
    return here.substr(0, here.rfind('/')) + "/../examples/astronaut.jpg";
}

std::unique_ptr<Array2dVec3UInt8> LoadExample()
{
    std::ifstream in(ExamplePath(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (bytes.empty())
        return nullptr;
    Array2dVec3UInt8* image = nullptr;
    ReadJpgFromMemory(image, &bytes[0], static_cast<int>(bytes.size()));
    return std::unique_ptr<Array2dVec3UInt8>(image);
}

// Smooth photo-like content: a few waves and a fixed noise, so corners abound.
std::unique_ptr<Array2dVec3UInt8> MakeSynthetic(long long width, long long height)
{
    std::unique_ptr<Array2dVec3UInt8> a(ArrayCreate<Array2dVec3UInt8>(width, height, 0, 0));
    uint32_t state = 4711;
    for (long long y = 0; y < height; ++y)
    {
        unsigned char* p = a->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
        {
            state = state * 1664525u + 1013904223u;
            const double v = 128 + 60 * std::sin(x * 0.031) * std::cos(y * 0.023) + 40 * std::sin((x + y) * 0.11) +
                             static_cast<double>(state >> 28);
            for (int c = 0; c < 3; ++c)
                p[3 * x + c] = static_cast<unsigned char>(std::min(255.0, std::max(0.0, v + 10 * c)));
        }
    }
    return a;
}

void BM_HLDetector(benchmark::State& state)
{
    std::unique_ptr<Array2dVec3UInt8> image = LoadExample();
    if (!image)
    {
        state.SkipWithError("examples/astronaut.jpg not found");
        return;
    }
    HarrisLaplaceDetector det(5.0, 3.0, state.range(0) != 0, false);
    int rows = 0;
    for (auto _ : state)
    {
        std::unique_ptr<PointDescriptorTable> table(det.HLDetector(image.get(), 1e-9, 0.06, 0.03));
        rows = table->Size();
    }
    state.counters["rows"] = rows;
}
BENCHMARK(BM_HLDetector)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_LaplacianDetector(benchmark::State& state)
{
    std::unique_ptr<Array2dVec3UInt8> image = LoadExample();
    if (!image)
    {
        state.SkipWithError("examples/astronaut.jpg not found");
        return;
    }
    int rows = 0;
    for (auto _ : state)
    {
        std::unique_ptr<PointDescriptorTable> table(LaplacianDetector(image.get(), true, 3.0));
        rows = table->Size();
    }
    state.counters["rows"] = rows;
}
BENCHMARK(BM_LaplacianDetector)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strncmp(argv[1], "--mp=", 5) == 0)
    {
        const double mp = std::atof(argv[1] + 5);
        const long long width = static_cast<long long>(std::sqrt(mp * 1e6 * 4.0 / 3.0));
        const long long height = static_cast<long long>(mp * 1e6 / width);
        std::unique_ptr<Array2dVec3UInt8> image = MakeSynthetic(width, height);
        HarrisLaplaceDetector det(5.0, 3.0, false, false);
        std::unique_ptr<PointDescriptorTable> table(det.HLDetector(image.get(), 1e-9, 0.06, 0.03));
        struct rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        std::cout << width << "x" << height << " rows " << table->Size() << " peak RSS "
                  << usage.ru_maxrss / 1024 << " MiB" << std::endl;
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
