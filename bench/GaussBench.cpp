// Timing of the two Gaussian paths on a 640 x 480 plane, against straightforward
// per-pixel loops that compute the same sums in the same order. Each comparison first
// checks that both give the same bits.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include "core/array/ArrayFactories.h"
#include "core/array/FuncBorderMirror2d.h"
#include "core/array/FuncGenConv2dSepDispatch.h"
#include "core/array/GaussDerivative.h"
#include "core/array/MakeGaussIIR1d.h"
#include "core/array/PatSetBorder.h"
#include "core/array/RecGauss.h"

using namespace Tavlin::Core::Array;

namespace
{

const long long kWidth = 640;
const long long kHeight = 480;

std::unique_ptr<Array2dReal64> MakeImage()
{
    std::unique_ptr<Array2dReal64> a(ArrayCreate<Array2dReal64>(kWidth, kHeight, 0, 0));
    uint32_t state = 12345;
    for (long long y = 0; y < kHeight; ++y)
        for (long long x = 0; x < kWidth; ++x)
        {
            state = state * 1664525u + 1013904223u;
            *a->PixelPtr(x, y) = (state >> 24) + 0.25 * x;
        }
    return a;
}

// GaussDerivative written as one loop per output pixel: mirror, horizontal sums of
// the kernel over each pixel's row neighbours, mirror, vertical sums.
Array2dReal64* PerPixelGaussDerivative(Array2dReal64* src, double sigma, int orderX, int orderY)
{
    std::unique_ptr<Array2dReal64> kx(MakeGaussDerivativeKernel(sigma, orderX, 3.0, src->Width()));
    std::unique_ptr<Array2dReal64> ky(MakeGaussDerivativeKernel(sigma, orderY, 3.0, src->Height()));
    const long long hx = kx->Width() / 2;
    const long long hy = ky->Width() / 2;
    std::unique_ptr<Array2dReal64> work(ArrayClone<Array2dReal64>(src, hx, hy));
    CopyImageRows(work.get(), src);
    Pattern::FuncBorderMirror2d(work.get(), hx, 0);
    std::unique_ptr<Array2dReal64> temp(ArrayClone<Array2dReal64>(work.get(), 0, 0));
    for (long long y = 0; y < src->Height(); ++y)
        for (long long x = 0; x < src->Width(); ++x)
        {
            double sum = 0.0;
            for (long long i = 0; i < kx->Width(); ++i)
                sum += kx->PixelPtr(0, 0)[i] * *work->PixelPtr(x - hx + i, y);
            *temp->PixelPtr(x, y) = sum;
        }
    Pattern::FuncBorderMirror2d(temp.get(), 0, hy);
    Array2dReal64* dst = ArrayClone<Array2dReal64>(work.get(), 0, 0);
    for (long long y = 0; y < src->Height(); ++y)
        for (long long x = 0; x < src->Width(); ++x)
        {
            double sum = 0.0;
            for (long long i = 0; i < ky->Width(); ++i)
                sum += ky->PixelPtr(0, 0)[i] * *temp->PixelPtr(x, y - hy + i);
            *dst->PixelPtr(x, y) = sum;
        }
    return dst;
}

// RecGauss smoothing with the column pass done column by column through a scratch
// column, one output pixel at a time.
Array2dReal64* PerPixelRecGauss(Array2dReal64* src, double sigma)
{
    std::unique_ptr<Array2dReal64> kx(MakeGaussIIR1d(sigma, 0, 3));
    const double* k = kx->PixelPtr(0, 0);
    const long long n = 3;
    Array2dReal64* a = ArrayClone<Array2dReal64>(src, 2 * n, 2 * n);
    CopyImageRows(a, src);
    const long long w = a->Width();
    const long long h = a->Height();
    Pattern::PatSetBorder(a, 2 * n, 0, Pattern::BorderPropagateNormalized, 0.0, 1.0, 1.0, 1.0, 1.0);
    for (long long y = 0; y < h; ++y)
    {
        double* p = a->PixelPtr(0, y);
        for (long long x = 0; x < w + n; ++x)
        {
            double sum = 0.0;
            for (long long i = 0; i <= n; ++i)
                sum += k[i] * p[x - n + i];
            p[x] = sum;
        }
        for (long long x = w + n; x < w + 2 * n; ++x)
            p[x] = p[w + n - 1];
        for (long long x = w + n - 1; x >= 0; --x)
        {
            double sum = 0.0;
            for (long long i = n; i <= 2 * n; ++i)
                sum += k[i] * p[x - n + i];
            p[x] = sum;
        }
    }
    Pattern::PatSetBorder(a, 0, 2 * n, Pattern::BorderPropagateNormalized, 0.0, 1.0, 1.0, 1.0, 1.0);
    std::vector<double> scratch(h + 4 * n);
    double* s = scratch.data() + 2 * n;
    for (long long x = 0; x < w; ++x)
    {
        for (long long y = -n; y < h + n; ++y)
            s[y] = *a->PixelPtr(x, y);
        for (long long y = 0; y < h + n; ++y)
        {
            double sum = 0.0;
            for (long long i = 0; i <= n; ++i)
                sum += k[i] * s[y - n + i];
            s[y] = sum;
        }
        for (long long y = h + n; y < h + 2 * n; ++y)
            s[y] = s[h + n - 1];
        for (long long y = h + n - 1; y >= 0; --y)
        {
            double sum = 0.0;
            for (long long i = n; i <= 2 * n; ++i)
                sum += k[i] * s[y - n + i];
            s[y] = sum;
            *a->PixelPtr(x, y) = sum;
        }
    }
    return a;
}

bool SameImage(Array2dReal64* a, Array2dReal64* b)
{
    for (long long y = 0; y < a->Height(); ++y)
        if (std::memcmp(a->PixelPtr(0, y), b->PixelPtr(0, y), a->Width() * sizeof(double)) != 0)
            return false;
    return true;
}

void BM_GaussDerivative(benchmark::State& state)
{
    const double sigma = static_cast<double>(state.range(0));
    const int orderX = static_cast<int>(state.range(1));
    std::unique_ptr<Array2dReal64> src = MakeImage();
    {
        Array2dReal64* dst = nullptr;
        GaussDerivative(dst, src.get(), sigma, orderX, 0, 3.0);
        std::unique_ptr<Array2dReal64> reference(PerPixelGaussDerivative(src.get(), sigma, orderX, 0));
        const bool same = SameImage(dst, reference.get());
        delete dst;
        if (!same)
        {
            state.SkipWithError("result differs from the per-pixel loop");
            return;
        }
    }
    for (auto _ : state)
    {
        Array2dReal64* dst = nullptr;
        GaussDerivative(dst, src.get(), sigma, orderX, 0, 3.0);
        benchmark::DoNotOptimize(dst->Data());
        delete dst;
    }
}

void BM_GaussDerivativePerPixel(benchmark::State& state)
{
    const double sigma = static_cast<double>(state.range(0));
    const int orderX = static_cast<int>(state.range(1));
    std::unique_ptr<Array2dReal64> src = MakeImage();
    for (auto _ : state)
    {
        Array2dReal64* dst = PerPixelGaussDerivative(src.get(), sigma, orderX, 0);
        benchmark::DoNotOptimize(dst->Data());
        delete dst;
    }
}

// One pass of the finite convolution alone, over planes made once (no allocation or
// border work timed): range(0) taps, range(1) 0 along rows, 1 down the columns.
void BM_ConvolutionPass(benchmark::State& state)
{
    const long long n = state.range(0);
    const bool down = state.range(1) != 0;
    const long long h = n / 2;
    std::unique_ptr<Array2dReal64> image = MakeImage();
    std::unique_ptr<Array2dReal64> src(ArrayClone<Array2dReal64>(image.get(), h, h));
    CopyImageRows(src.get(), image.get());
    Pattern::FuncBorderMirror2d(src.get(), h, h);
    std::unique_ptr<Array2dReal64> dst(ArrayClone<Array2dReal64>(image.get(), 0, 0));
    std::unique_ptr<Array2dReal64> kernel(MakeGaussDerivativeKernel(n / 3.0, 1, 3.0, n));
    const double* k = kernel->PixelPtr(0, 0);
    Trait::BpoMul<double, double, double> mul;
    Trait::BpoAddAssign<double, double> add;
    auto pass = [&]() {
        if (down)
            Pattern::FuncGenConv2dSepDispatch_V(dst.get(), src.get(), kernel.get(), mul, add, 0);
        else
            Pattern::FuncGenConv2dSepDispatch_H(dst.get(), src.get(), kernel.get(), mul, add, 0);
    };
    pass();
    for (long long y = 0; y < kHeight; y += 7)
        for (long long x = 0; x < kWidth; x += 3)
        {
            double sum = 0.0;
            for (long long t = 0; t < n; ++t)
                sum += k[t] * (down ? *src->PixelPtr(x, y - h + t) : *src->PixelPtr(x - h + t, y));
            if (sum != *dst->PixelPtr(x, y))
            {
                state.SkipWithError("result differs from the per-pixel loop");
                return;
            }
        }
    for (auto _ : state)
    {
        pass();
        benchmark::DoNotOptimize(dst->Data());
    }
    state.counters["taps"] =
        benchmark::Counter(static_cast<double>(kWidth * kHeight * n) * state.iterations(),
                           benchmark::Counter::kIsRate);
}

void BM_RecGauss(benchmark::State& state)
{
    const double sigma = static_cast<double>(state.range(0));
    const int orderX = static_cast<int>(state.range(1));
    std::unique_ptr<Array2dReal64> src = MakeImage();
    if (orderX == 0)
    {
        Array2dReal64* dst = nullptr;
        RecGauss(dst, src.get(), sigma, sigma, 0, 0, 3);
        std::unique_ptr<Array2dReal64> reference(PerPixelRecGauss(src.get(), sigma));
        const bool same = SameImage(dst, reference.get());
        delete dst;
        if (!same)
        {
            state.SkipWithError("result differs from the per-pixel loop");
            return;
        }
    }
    for (auto _ : state)
    {
        Array2dReal64* dst = nullptr;
        RecGauss(dst, src.get(), sigma, sigma, orderX, 0, 3);
        benchmark::DoNotOptimize(dst->Data());
        delete dst;
    }
}

void BM_RecGaussPerPixel(benchmark::State& state)
{
    const double sigma = static_cast<double>(state.range(0));
    std::unique_ptr<Array2dReal64> src = MakeImage();
    for (auto _ : state)
    {
        Array2dReal64* dst = PerPixelRecGauss(src.get(), sigma);
        benchmark::DoNotOptimize(dst->Data());
        delete dst;
    }
}

} // namespace

BENCHMARK(BM_GaussDerivative)->Args({1, 0})->Args({2, 0})->Args({8, 0})->Args({8, 1})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GaussDerivativePerPixel)->Args({2, 0})->Args({8, 0})->Args({8, 1})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvolutionPass)
    ->ArgsProduct({{9, 23, 49, 87}, {0, 1}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RecGauss)->Args({1, 0})->Args({8, 0})->Args({32, 0})->Args({8, 1})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RecGaussPerPixel)->Args({1, 0})->Args({8, 0})->Args({32, 0})->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
