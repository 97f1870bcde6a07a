// Fisher encoding of 10000 descriptors of 128 values under 256 Gaussians, against one
// dgemm of 10000 x 128 by 128 x 512 (the same count of multiply-adds as the screening
// of all log-densities) timed in the same run. The mixture has means uniform in
// [-1, 1] and standard deviations in [0.5, 1.5]; the descriptors are drawn from it.
// A second case draws the descriptors from a much wider mixture, so that the model
// lies in a small part of their space; the third times the sample-by-sample route.
// Run single-thread: OPENBLAS_NUM_THREADS=1 taskset -c 0.
#include <benchmark/benchmark.h>
#include <cblas.h>

#include <memory>
#include <random>
#include <vector>

#include "Link/GMM/fisher.h"
#include "Link/GMM/gmm.h"

namespace
{

const int N = 10000, D = 128, K = 256;

struct Setup
{
    std::vector<std::vector<double>> mean, var, samples;
    std::vector<double> coef;
    std::unique_ptr<gaussian_mixture<double>> gmm;
    std::unique_ptr<fisher<double>> enc;
    std::vector<double*> x;

    explicit Setup(double sample_spread)
    {
        std::mt19937_64 rng(1);
        std::uniform_real_distribution<double> where(-1, 1), sd(0.5, 1.5);
        std::normal_distribution<double> normal;
        for (int j = 0; j < K; j++)
        {
            std::vector<double> m(D), v(D);
            for (int k = 0; k < D; k++)
            {
                m[k] = where(rng);
                const double s = sd(rng);
                v[k] = s * s;
            }
            mean.push_back(m);
            var.push_back(v);
            coef.push_back(sd(rng));
        }
        for (int i = 0; i < N; i++)
        {
            const int j = static_cast<int>(rng() % K);
            std::vector<double> s(D);
            for (int k = 0; k < D; k++)
                s[k] = sample_spread * (mean[j][k] + std::sqrt(var[j][k]) * normal(rng));
            samples.push_back(s);
        }
        std::vector<double*> mr, vr;
        for (int j = 0; j < K; j++)
        {
            mr.push_back(mean[j].data());
            vr.push_back(var[j].data());
        }
        gmm = std::make_unique<gaussian_mixture<double>>(K, D);
        gmm->set(mr, vr, coef);
        fisher_param p;
        enc = std::make_unique<fisher<double>>(p);
        enc->set_model(*gmm);
        for (std::vector<double>& s : samples)
            x.push_back(s.data());
    }
};

void BM_Dgemm10000x128x512(benchmark::State& state)
{
    std::mt19937_64 rng(2);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<double> a(static_cast<size_t>(N) * D), b(static_cast<size_t>(D) * 2 * K), c(static_cast<size_t>(N) * 2 * K);
    for (double& v : a)
        v = u(rng);
    for (double& v : b)
        v = u(rng);
    for (auto _ : state)
    {
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, N, 2 * K, D, 1.0, a.data(), D, b.data(), 2 * K, 0.0,
                    c.data(), 2 * K);
        benchmark::DoNotOptimize(c.data());
    }
}
BENCHMARK(BM_Dgemm10000x128x512)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_FisherEncode(benchmark::State& state)
{
    static Setup setup(1.0);
    std::vector<double> out(setup.enc->dim());
    for (auto _ : state)
    {
        setup.enc->compute(setup.x, out.data());
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_FisherEncode)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_FisherEncodeWideSamples(benchmark::State& state)
{
    static Setup setup(3.0);
    std::vector<double> out(setup.enc->dim());
    for (auto _ : state)
    {
        setup.enc->compute(setup.x, out.data());
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_FisherEncodeWideSamples)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_StatisticsSampleBySample(benchmark::State& state)
{
    static Setup setup(1.0);
    for (auto _ : state)
    {
        setup.gmm->reset_stat_acc();
        for (double* s : setup.x)
            setup.gmm->accumulate_statistics(s, true, true, true);
        benchmark::DoNotOptimize(setup.gmm->s0);
    }
}
BENCHMARK(BM_StatisticsSampleBySample)->Unit(benchmark::kMillisecond)->MinTime(1.0);

} // namespace

BENCHMARK_MAIN();
