// Hard projection of 10000 descriptors of 128 values onto 4096 words, against the one
// matrix product of the same shapes (10000 x 128 by 128 x 4096) that the distances
// rest on. Run single-threaded: OPENBLAS_NUM_THREADS=1.
#include <benchmark/benchmark.h>

#include <cblas.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "core/feature/InterestPointFeature.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/VectorQuantize.h"
#include "util/PropertySet.h"

using namespace Tavlin::Core;

namespace
{
const int sPoints = 10000;
const int sDimension = 128;
const int sWords = 4096;

// SIFT-like values: whole numbers from 0 to 511 from a fixed sequence.
void Fill(std::vector<double>& values, unsigned seed)
{
    unsigned state = seed;
    for (double& v : values)
    {
        state = state * 1103515245u + 12345u;
        v = static_cast<double>((state >> 8) % 512);
    }
}

void BM_Dgemm(benchmark::State& state)
{
    std::vector<double> a(static_cast<size_t>(sPoints) * sDimension), b(static_cast<size_t>(sDimension) * sWords),
        c(static_cast<size_t>(sPoints) * sWords);
    Fill(a, 1);
    Fill(b, 2);
    for (auto _ : state)
    {
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, sPoints, sWords, sDimension, 1.0, a.data(), sDimension,
                    b.data(), sWords, 0.0, c.data(), sWords);
        benchmark::DoNotOptimize(c.data());
    }
}

void BM_HardProjection(benchmark::State& state)
{
    Tavlin::Util::PropertySet properties;
    properties.Add("detector", "densesampling");
    properties.Add("descriptor", "sift");
    properties.Add("noRandomizeSeed", "1");
    properties.Add("pointSelector", "pyramid-1x1-2x2");
    Feature::InterestPointFeature feature(properties);
    Array::Array2dReal64* codebook = Matrix::MatCreate<Array::Array2dReal64>(sWords, sDimension);
    std::vector<double> words(static_cast<size_t>(sWords) * sDimension);
    Fill(words, 3);
    std::copy(words.begin(), words.end(), codebook->mData);
    feature.SetCodebook(codebook, nullptr);
    feature.ConfigurePyramid(properties);

    std::vector<double> descriptors(static_cast<size_t>(sPoints) * sDimension);
    Fill(descriptors, 4);
    // The fast search must give exactly what the plain chunked one gives.
    {
        std::unique_ptr<Array::Array2dReal64> data(
            Matrix::MatCreate<Array::Array2dReal64>(sPoints, sDimension, descriptors.data(), true));
        std::unique_ptr<Array::Array2dReal64> fast(Matrix::VectorQuantize(data.get(), codebook));
        std::unique_ptr<Array::Array2dReal64> plain(Matrix::VectorQuantizePlain(data.get(), codebook));
        if (!fast || !plain || !std::equal(fast->mData, fast->mData + 2 * sPoints, plain->mData))
        {
            state.SkipWithError("VectorQuantize differs from VectorQuantizePlain");
            return;
        }
    }
    for (auto _ : state)
    {
        state.PauseTiming();
        auto* table = new Feature::PointDescriptorTable(Feature::FeatureDefinition("bench"));
        table->Reserve(sPoints, false);
        table->SetDescriptorLength(sDimension);
        for (int i = 0; i < sPoints; ++i)
        {
            table->AddPoint(i % 640, (i / 640) * 6 % 480, 1.2, 0.0, 0.0);
            std::copy_n(descriptors.begin() + static_cast<size_t>(i) * sDimension, sDimension, table->GetDescriptor(i));
        }
        state.ResumeTiming();
        std::unique_ptr<Feature::PointDescriptorTable> rows(
            feature.ProjectOntoCodebook(table, "hard", 640, 480, Tavlin::Quid(0)));
        benchmark::DoNotOptimize(rows.get());
    }
}
} // namespace

BENCHMARK(BM_Dgemm)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_HardProjection)->Unit(benchmark::kMillisecond)->MinTime(2.0);

BENCHMARK_MAIN();
