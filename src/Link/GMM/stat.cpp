#include "Link/GMM/stat.h"

#include <cmath>

#include "Link/GMM/gmm_assert.h"
#include "Link/GMM/simd.h"

template <class T>
void sample_mean(std::vector<T*>& samples, T* mean, int n)
{
    const int N = static_cast<int>(samples.size());
    GMM_ASSERT(N>0);
    for (int k = 0; k < n; k++)
        mean[k] = 0;
    for (int i = 0; i < N; i++)
        simd::add(n, mean, samples[i]);
    simd::scale(n, mean, static_cast<T>(1.0 / N));
}

template <class T>
void sample_variance(std::vector<T*>& samples, T* mean, T* var, int n)
{
    const int N = static_cast<int>(samples.size());
    GMM_ASSERT(N>1);
    for (int k = 0; k < n; k++)
        var[k] = 0;
    for (int i = 0; i < N; i++)
        simd::accumulate_stat_centered(n, var, samples[i], mean, static_cast<T>(1));
    simd::scale(n, var, static_cast<T>(1.0 / (N - 1)));
}

template <class T>
void sample_variance(std::vector<T*>& samples, T* var, int n)
{
    std::vector<T> mean(n);
    sample_mean(samples, mean.data(), n);
    sample_variance(samples, mean.data(), var, n);
}

template <class T>
void standardize(std::vector<T*>& samples, T* mean, T* var, int n)
{
    sample_mean(samples, mean, n);
    sample_variance(samples, mean, var, n);
    std::vector<T> factor(n);
    for (int k = 0; k < n; k++)
        factor[k] = var[k] > 0 ? static_cast<T>(1.0 / std::sqrt(var[k])) : 0;
    for (T* x : samples)
        simd::standardize(n, x, x, mean, factor.data());
}

template <class T>
void destandardize(std::vector<T*>& samples, T* mean, T* variance, int n)
{
    GMM_ASSERT(mean && variance);
    std::vector<T> sd(n);
    for (int k = 0; k < n; k++)
        sd[k] = std::sqrt(variance[k]);
    for (T* x : samples)
        for (int k = 0; k < n; k++)
            x[k] = x[k] * sd[k] + mean[k];
}

#define STAT_INSTANTIATE(T)                                                   \
    template void sample_mean<T>(std::vector<T*>&, T*, int);                  \
    template void sample_variance<T>(std::vector<T*>&, T*, T*, int);          \
    template void sample_variance<T>(std::vector<T*>&, T*, int);              \
    template void standardize<T>(std::vector<T*>&, T*, T*, int);              \
    template void destandardize<T>(std::vector<T*>&, T*, T*, int);

STAT_INSTANTIATE(float)
STAT_INSTANTIATE(double)
