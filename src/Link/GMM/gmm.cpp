#include "Link/GMM/gmm.h"

#include <cblas.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <limits>

#include "Link/GMM/gmm_assert.h"
#include "Link/GMM/simd.h"
#include "Link/GMM/stat.h"

namespace
{

const double log_2pi = 1.8378770664093453;

// Gaussians whose screened log-density lies within this many nats of the best are
// evaluated again term by term; the others have posteriors below exp(-30) of the
// best, where the rounding of the screening product cannot matter.
const double exact_window = 30.0;

// Below these, exp gives exactly 0.
template <class T> T exp_underflow();
template <> float exp_underflow<float>() { return -110.0f; }
template <> double exp_underflow<double>() { return -750.0; }

// Samples per block: keeps the block operands near 1 MB.
int block_rows(int ndim, int ngauss)
{
    const int width = std::max(1, std::max(2 * ndim, ngauss));
    return std::max(1, std::min(512, 131072 / width));
}

// Row-major c = op(a) * b + beta * c.
void gemm(bool trans_a, int m, int n, int k, const float* a, const float* b, float beta, float* c)
{
    cblas_sgemm(CblasRowMajor, trans_a ? CblasTrans : CblasNoTrans, CblasNoTrans, m, n, k, 1.0f, a,
                trans_a ? m : k, b, n, beta, c, n);
}

void gemm(bool trans_a, int m, int n, int k, const double* a, const double* b, double beta, double* c)
{
    cblas_dgemm(CblasRowMajor, trans_a ? CblasTrans : CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a,
                trans_a ? m : k, b, n, beta, c, n);
}

template <class T>
T* new_row(int n, T value)
{
    T* row = new T[n];
    std::fill(row, row + n, value);
    return row;
}

template <class T>
T** new_rows(int rows, int n, T value)
{
    T** r = new T*[rows];
    for (int j = 0; j < rows; j++)
        r[j] = new_row(n, value);
    return r;
}

template <class T>
void delete_rows(T**& r, int rows)
{
    if (!r)
        return;
    for (int j = 0; j < rows; j++)
        delete[] r[j];
    delete[] r;
    r = nullptr;
}

template <class T>
void delete_row(T*& r)
{
    delete[] r;
    r = nullptr;
}

} // namespace

void em_param::print()
{
    std::cout << "  max_iter = " << max_iter << std::endl;
    std::cout << "  alpha = " << alpha << std::endl;
    std::cout << "  llh_diff_thr = " << llh_diff_thr << std::endl;
    std::cout << "  min_gamma = " << min_gamma << std::endl;
    std::cout << "  variance_floor = " << variance_floor << std::endl;
    std::cout << "  variance_floor_factor = " << variance_floor_factor << std::endl;
}

template <class T>
gaussian_mixture<T>::gaussian_mixture(int _ngauss, int _ndim) : ngauss(_ngauss), ndim(_ndim)
{
    init();
}

template <class T>
gaussian_mixture<T>::gaussian_mixture(em_param& _param, int _ngauss, int _ndim)
    : param(_param), ngauss(_ngauss), ndim(_ndim)
{
    init();
}

template <class T>
gaussian_mixture<T>::gaussian_mixture(const char* filename) : ngauss(0), ndim(0)
{
    init();
    load(filename);
}

template <class T>
gaussian_mixture<T>::~gaussian_mixture()
{
    clean();
}

template <class T>
void gaussian_mixture<T>::init()
{
    t_log_gauss = 0;
    nsamples = 0;
    mean = var = s1 = s2 = i_var = nullptr;
    coef = s0 = var_floor = log_coef = log_var_sum = nullptr;
    log_2pi_d = static_cast<T>(ndim * log_2pi);
    if (ngauss <= 0 || ndim <= 0)
        return;
    mean = new_rows<T>(ngauss, ndim, 0);
    var = new_rows<T>(ngauss, ndim, 1);
    coef = new_row<T>(ngauss, static_cast<T>(1.0 / ngauss));
    i_var = new_rows<T>(ngauss, ndim, 1);
    var_floor = new_row<T>(ndim, static_cast<T>(param.variance_floor));
    log_coef = new_row<T>(ngauss, 0);
    log_var_sum = new_row<T>(ngauss, 0);
    precompute_aux_var();
}

template <class T>
void gaussian_mixture<T>::free_stat_acc()
{
    delete_row(s0);
    delete_rows(s1, ngauss);
    delete_rows(s2, ngauss);
}

template <class T>
void gaussian_mixture<T>::clean()
{
    free_stat_acc();
    delete_rows(mean, ngauss);
    delete_rows(var, ngauss);
    delete_rows(i_var, ngauss);
    delete_row(coef);
    delete_row(var_floor);
    delete_row(log_coef);
    delete_row(log_var_sum);
    ngauss = ndim = 0;
    for (std::vector<T>* v : {&centre, &block_w, &block_const, &block_x, &block_v, &block_s, &scratch})
        std::vector<T>().swap(*v);
}

template <class T>
void gaussian_mixture<T>::set(std::vector<T*>& _mean, std::vector<T*>& _var, std::vector<T>& _coef)
{
    set_mean(_mean);
    set_variance(_var);
    set_mixing_coefficients(_coef);
    precompute_aux_var();
    reset_stat_acc();
}

template <class T>
void gaussian_mixture<T>::set_mean(std::vector<T*>& _mean)
{
    GMM_ASSERT((int)_mean.size()==ngauss);
    for (int j = 0; j < ngauss; j++)
        std::copy(_mean[j], _mean[j] + ndim, mean[j]);
}

template <class T>
void gaussian_mixture<T>::set_variance(std::vector<T*>& _var)
{
    GMM_ASSERT((int)_var.size()==ngauss);
    const T floor = static_cast<T>(param.variance_floor);
    for (int j = 0; j < ngauss; j++)
        for (int k = 0; k < ndim; k++)
            var[j][k] = _var[j][k] < floor ? floor : _var[j][k];
}

template <class T>
void gaussian_mixture<T>::set_mixing_coefficients(std::vector<T>& _coef)
{
    GMM_ASSERT((int)_coef.size()==ngauss);
    T sum = 0;
    for (int j = 0; j < ngauss; j++)
        sum += _coef[j];
    GMM_ASSERT(sum>0.0);
    for (int j = 0; j < ngauss; j++)
        coef[j] = _coef[j] / sum;
}

template <class T>
void gaussian_mixture<T>::precompute_aux_var()
{
    for (int j = 0; j < ngauss; j++)
    {
        log_coef[j] = std::log(coef[j]);
        T sum = 0;
        for (int k = 0; k < ndim; k++)
        {
            i_var[j][k] = static_cast<T>(1) / var[j][k];
            sum += std::log(var[j][k]);
        }
        log_var_sum[j] = sum;
    }

    // Screening operands, centred on the mean of the means to keep the expansion of
    // (x - m)^2 from cancelling.
    centre.assign(ndim, 0);
    for (int j = 0; j < ngauss; j++)
        simd::add(ndim, centre.data(), mean[j]);
    if (ngauss > 0)
        simd::scale(ndim, centre.data(), static_cast<T>(1.0 / ngauss));
    block_w.assign(static_cast<size_t>(2) * ndim * ngauss, 0);
    block_const.assign(ngauss, 0);
    for (int j = 0; j < ngauss; j++)
    {
        T sum = 0;
        for (int k = 0; k < ndim; k++)
        {
            const T m = mean[j][k] - centre[k];
            block_w[static_cast<size_t>(k) * ngauss + j] = i_var[j][k];
            block_w[static_cast<size_t>(ndim + k) * ngauss + j] = -2 * m * i_var[j][k];
            sum += i_var[j][k] * m * m;
        }
        block_const[j] = log_2pi_d + log_var_sum[j] + sum;
    }
}

template <class T>
T gaussian_mixture<T>::log_gauss(int j, T* x)
{
    return static_cast<T>(-0.5) * (log_2pi_d + log_var_sum[j] + simd::weighted_l2_sq(ndim, x, mean[j], i_var[j]));
}

template <class T>
T gaussian_mixture<T>::log_p(T* x, T* log_pdf)
{
    if (scratch.size() < static_cast<size_t>(2 * ngauss))
        scratch.resize(2 * ngauss);
    T* v = log_pdf ? log_pdf : scratch.data();
    const clock_t start = clock();
    for (int j = 0; j < ngauss; j++)
        v[j] = log_gauss(j, x) + log_coef[j];
    t_log_gauss += static_cast<double>(clock() - start);

    T m = -std::numeric_limits<T>::infinity();
    for (int j = 0; j < ngauss; j++)
        m = std::max(m, v[j]);
    T sum = 0;
    for (int j = 0; j < ngauss; j++)
        sum += std::exp(v[j] - m);
    const T L = std::log(sum) + m;
    if (log_pdf)
        simd::offset(ngauss, log_pdf, -L);
    return L;
}

template <class T>
T gaussian_mixture<T>::posterior(T* x, T* out)
{
    const T L = log_p(x, out);
    T sum = 0;
    for (int j = 0; j < ngauss; j++)
    {
        out[j] = std::exp(out[j]);
        sum += out[j];
    }
    if (sum > 0)
        simd::scale(ngauss, out, static_cast<T>(1) / sum);
    return L;
}

template <class T>
T gaussian_mixture<T>::log_likelihood(std::vector<T*>& samples)
{
    T sum = 0;
    for (T* x : samples)
        sum += log_p(x);
    return sum / static_cast<T>(samples.size());
}

template <class T>
T gaussian_mixture<T>::accumulate_statistics(T* x, bool b0, bool b1, bool b2)
{
    if (!s0)
        reset_stat_acc();
    if (scratch.size() < static_cast<size_t>(2 * ngauss))
        scratch.resize(2 * ngauss);
    T* gamma = scratch.data() + ngauss;
    const T L = posterior(x, gamma);
    if (b0)
        simd::add(ngauss, s0, gamma);
    const T min_gamma = static_cast<T>(param.min_gamma);
    for (int j = 0; j < ngauss; j++)
    {
        if (gamma[j] < min_gamma)
            continue;
        if (b1 && b2)
            simd::accumulate_stat(ndim, s1[j], s2[j], x, gamma[j]);
        else if (b1)
            simd::accumulate_stat(ndim, s1[j], x, gamma[j]);
        else if (b2)
            simd::add2(ndim, s2[j], x, gamma[j]);
    }
    return L;
}

template <class T>
T gaussian_mixture<T>::accumulate_statistics(std::vector<T*>& samples, bool b0, bool b1, bool b2)
{
    if (!s0)
        reset_stat_acc();
    T llh = 0;
    if (ngauss <= 0 || ndim <= 0)
        return llh;
    const int n = static_cast<int>(samples.size());
    const int nb = block_rows(ndim, ngauss);
    for (int first = 0; first < n; first += nb)
        accumulate_block(samples.data() + first, std::min(nb, n - first), b0, b1, b2, llh);

    if (block_s_used)
    {
        // Dense blocks summed apart: s1 part first, then s2, as laid out below.
        const int width = (b1 ? ndim : 0) + (b2 ? ndim : 0);
        for (int j = 0; j < ngauss; j++)
        {
            const T* row = block_s.data() + static_cast<size_t>(j) * width;
            if (b1)
                simd::add(ndim, s1[j], row);
            if (b2)
                simd::add(ndim, s2[j], row + (b1 ? ndim : 0));
        }
        std::fill(block_s.begin(), block_s.end(), static_cast<T>(0));
        block_s_used = false;
    }
    return llh;
}

template <class T>
void gaussian_mixture<T>::accumulate_block(T* const* x, int nb, bool b0, bool b1, bool b2, T& llh)
{
    const int D = ndim;
    const int K = ngauss;
    const size_t xw = static_cast<size_t>(2) * D;
    block_x.resize(nb * xw);
    block_v.resize(static_cast<size_t>(nb) * K);

    // Screening: all log-densities of the block by one product.
    const clock_t start = clock();
    const T* c = centre.data();
    for (int i = 0; i < nb; i++)
    {
        const T* xi = x[i];
        T* sq = block_x.data() + i * xw;
        T* lin = sq + D;
        for (int k = 0; k < D; k++)
        {
            const T d = xi[k] - c[k];
            lin[k] = d;
            sq[k] = d * d;
        }
    }
    gemm(false, nb, K, 2 * D, block_x.data(), block_w.data(), 0, block_v.data());

    const T half = static_cast<T>(-0.5);
    const T window = static_cast<T>(exact_window);
    for (int i = 0; i < nb; i++)
    {
        T* v = block_v.data() + static_cast<size_t>(i) * K;
        T m = -std::numeric_limits<T>::infinity();
        for (int j = 0; j < K; j++)
        {
            v[j] = half * (block_const[j] + v[j]) + log_coef[j];
            m = std::max(m, v[j]);
        }
        // The Gaussians that matter, term by term.
        const T near = m - window;
        for (int j = 0; j < K; j++)
            if (v[j] >= near)
                v[j] = log_gauss(j, x[i]) + log_coef[j];
    }
    t_log_gauss += static_cast<double>(clock() - start);

    const T underflow = exp_underflow<T>();
    const T min_gamma = static_cast<T>(param.min_gamma);
    size_t active = 0;
    for (int i = 0; i < nb; i++)
    {
        T* v = block_v.data() + static_cast<size_t>(i) * K;
        T m = -std::numeric_limits<T>::infinity();
        for (int j = 0; j < K; j++)
            m = std::max(m, v[j]);
        T sum = 0;
        for (int j = 0; j < K; j++)
        {
            const T d = v[j] - m;
            v[j] = d < underflow ? 0 : std::exp(d);
            sum += v[j];
        }
        llh += std::log(sum) + m;
        simd::scale(K, v, static_cast<T>(1) / sum);
        if (b0)
            simd::add(K, s0, v);
        for (int j = 0; j < K; j++)
            active += v[j] >= min_gamma;
    }
    if (!b1 && !b2)
        return;

    // Few posteriors above min_gamma: add each sample to its Gaussians; many: one
    // product of the thresholded posteriors with the samples.
    if (active * 8 <= static_cast<size_t>(nb) * K)
    {
        for (int i = 0; i < nb; i++)
        {
            const T* g = block_v.data() + static_cast<size_t>(i) * K;
            for (int j = 0; j < K; j++)
            {
                if (g[j] < min_gamma)
                    continue;
                if (b1 && b2)
                    simd::accumulate_stat(D, s1[j], s2[j], x[i], g[j]);
                else if (b1)
                    simd::accumulate_stat(D, s1[j], x[i], g[j]);
                else
                    simd::add2(D, s2[j], x[i], g[j]);
            }
        }
        return;
    }
    for (size_t e = 0; e < block_v.size(); e++)
        if (block_v[e] < min_gamma)
            block_v[e] = 0;
    const int width = (b1 ? D : 0) + (b2 ? D : 0);
    for (int i = 0; i < nb; i++)
    {
        const T* xi = x[i];
        T* row = block_x.data() + static_cast<size_t>(i) * width;
        if (b1)
            std::copy(xi, xi + D, row);
        if (b2)
        {
            T* sq = row + (b1 ? D : 0);
            for (int k = 0; k < D; k++)
                sq[k] = xi[k] * xi[k];
        }
    }
    block_s.resize(static_cast<size_t>(K) * width);
    gemm(true, K, width, nb, block_v.data(), block_x.data(), block_s_used ? 1 : 0, block_s.data());
    block_s_used = true;
}

template <class T>
void gaussian_mixture<T>::reset_stat_acc()
{
    if (ngauss <= 0 || ndim <= 0)
        return;
    if (!s0)
        s0 = new T[ngauss];
    std::fill(s0, s0 + ngauss, static_cast<T>(0));
    if (!s1)
        s1 = new_rows<T>(ngauss, ndim, 0);
    else
        for (int j = 0; j < ngauss; j++)
            std::fill(s1[j], s1[j] + ndim, static_cast<T>(0));
    if (!s2)
        s2 = new_rows<T>(ngauss, ndim, 0);
    else
        for (int j = 0; j < ngauss; j++)
            std::fill(s2[j], s2[j] + ndim, static_cast<T>(0));
    std::fill(block_s.begin(), block_s.end(), static_cast<T>(0));
    block_s_used = false;
}

template <class T>
void gaussian_mixture<T>::compute_variance_floor(std::vector<T*>& samples)
{
    std::vector<T> v(ndim);
    sample_variance(samples, v.data(), ndim);
    const T factor = static_cast<T>(param.variance_floor_factor);
    const T floor = static_cast<T>(param.variance_floor);
    for (int k = 0; k < ndim; k++)
        var_floor[k] = std::max(v[k] * factor, floor);
}

template <class T>
void gaussian_mixture<T>::update_model()
{
    for (int j = 0; j < ngauss; j++)
    {
        delete[] mean[j];
        mean[j] = s1[j];
        simd::scale(ndim, mean[j], static_cast<T>(1) / s0[j]);
        delete[] var[j];
        var[j] = s2[j];
        simd::scale(ndim, var[j], static_cast<T>(1) / s0[j]);
        simd::sub2(ndim, var[j], mean[j]);
        for (int k = 0; k < ndim; k++)
            var[j][k] = std::max(var[j][k], var_floor[k]);
    }
    simd::offset(ngauss, s0, static_cast<T>(param.alpha));
    delete[] coef;
    coef = s0;
    T sum = 0;
    for (int j = 0; j < ngauss; j++)
        sum += coef[j];
    simd::scale(ngauss, coef, static_cast<T>(1) / sum);
    delete[] s1;
    delete[] s2;
    s0 = nullptr;
    s1 = s2 = nullptr;
}

template <class T>
void gaussian_mixture<T>::em(std::vector<T*>& samples)
{
    nsamples = static_cast<int>(samples.size());
    compute_variance_floor(samples);
    std::cout << "  Number of Gaussians: " << ngauss << std::endl;
    std::cout << "  Number of samples: " << nsamples << std::endl;
    std::cout << "  Sample dimensions: " << ndim << std::endl;
    std::cout << std::endl;
    if (param.max_iter < 1)
        return;
    T llh0 = 0;
    T llh_prev = 0;
    for (int iter = 0;; iter++)
    {
        precompute_aux_var();
        reset_stat_acc();
        const T llh = accumulate_statistics(samples, true, true, true) / static_cast<T>(nsamples);
        if (iter == 0)
        {
            std::cout << "  iter 0, avg. llh = " << llh << std::endl;
            llh0 = llh;
        }
        else
        {
            const T gain = (llh - llh_prev) / (llh - llh0);
            std::cout << "  iter " << iter << ", avg. llh = " << llh << " (" << std::showpos << gain
                      << std::noshowpos << ")" << std::endl;
            if (param.llh_diff_thr > gain)
                break;
        }
        llh_prev = llh;
        update_model();
        if (iter + 1 >= param.max_iter)
            break;
    }
}

template <class T>
int gaussian_mixture<T>::save(const char* filename)
{
    FILE* f = std::fopen(filename, "wb");
    if (!f)
        return -1;
    const int32_t counts[2] = {ngauss, ndim};
    bool ok = std::fwrite(counts, sizeof(int32_t), 2, f) == 2;
    for (int j = 0; ok && j < ngauss; j++)
        ok = std::fwrite(&coef[j], sizeof(T), 1, f) == 1 &&
             std::fwrite(mean[j], sizeof(T), ndim, f) == static_cast<size_t>(ndim) &&
             std::fwrite(var[j], sizeof(T), ndim, f) == static_cast<size_t>(ndim);
    if (std::fclose(f) != 0)
        ok = false;
    return ok ? 0 : -1;
}

template <class T>
int gaussian_mixture<T>::load(const char* filename)
{
    clean();
    FILE* f = std::fopen(filename, "rb");
    if (!f)
    {
        std::cerr << "gaussian_mixture::load: cannot open " << filename << std::endl;
        return -1;
    }
    // The counts must describe the file exactly: a model of the other element width,
    // a truncated or a foreign file is refused before anything is allocated.
    int32_t counts[2] = {0, 0};
    const char* problem = nullptr;
    long size = -1;
    if (std::fread(counts, sizeof(int32_t), 2, f) != 2)
        problem = "shorter than its header";
    else if (counts[0] < 0 || counts[1] < 0)
        problem = "negative size in its header";
    else if (counts[0] > 0 && counts[1] == 0)
        problem = "Gaussians without dimensions";
    else if (counts[0] == 0 && counts[1] > 0)
        problem = "dimensions without Gaussians";
    else if (std::fseek(f, 0, SEEK_END) != 0 || (size = std::ftell(f)) < 0 ||
             std::fseek(f, 2 * sizeof(int32_t), SEEK_SET) != 0)
        problem = "not seekable";
    else
    {
        const uint64_t body = static_cast<uint64_t>(size) - 2 * sizeof(int32_t);
        const uint64_t per_gauss = (2 * static_cast<uint64_t>(counts[1]) + 1) * sizeof(T);
        if (counts[0] == 0 ? body != 0 : body % counts[0] != 0 || body / counts[0] != per_gauss)
            problem = "size does not match its header (wrong element width, truncated or not a model)";
    }
    if (problem)
    {
        std::cerr << "gaussian_mixture::load: " << filename << ": " << problem << std::endl;
        std::fclose(f);
        return -1;
    }
    ngauss = counts[0];
    ndim = counts[1];
    init();
    bool ok = true;
    for (int j = 0; ok && j < ngauss; j++)
        ok = std::fread(&coef[j], sizeof(T), 1, f) == 1 &&
             std::fread(mean[j], sizeof(T), ndim, f) == static_cast<size_t>(ndim) &&
             std::fread(var[j], sizeof(T), ndim, f) == static_cast<size_t>(ndim);
    std::fclose(f);
    if (!ok)
    {
        std::cerr << "gaussian_mixture::load: " << filename << ": read error" << std::endl;
        clean();
        return -1;
    }
    // Evaluation and the Fisher encoder divide by weights and variances: a model that
    // holds a weight or variance that is no positive number is refused here.
    for (int j = 0; ok && j < ngauss; j++)
    {
        ok = coef[j] > 0 && std::isfinite(coef[j]);
        for (int k = 0; ok && k < ndim; k++)
            ok = var[j][k] > 0 && std::isfinite(var[j][k]) && std::isfinite(mean[j][k]);
    }
    if (!ok)
    {
        std::cerr << "gaussian_mixture::load: " << filename
                  << ": weights and variances must be positive numbers, means numbers" << std::endl;
        clean();
        return -1;
    }
    precompute_aux_var();
    reset_stat_acc();
    return 0;
}

template <class T>
void gaussian_mixture<T>::print(bool print_coef, bool print_mean, bool print_var)
{
    GMM_ASSERT(print_coef || print_mean || print_var);
    for (int j = 0; j < ngauss; j++)
    {
        if (print_coef)
            std::cout << " coef[" << j << "] = " << coef[j] << std::endl;
        if (print_mean)
        {
            std::cout << " mean[" << j << "] = [";
            for (int k = 0; k < ndim; k++)
                std::cout << " " << mean[j][k];
            std::cout << " ]" << std::endl;
        }
        if (print_var)
        {
            std::cout << " variance[" << j << "] = [";
            for (int k = 0; k < ndim; k++)
                std::cout << " " << var[j][k];
            std::cout << " ]" << std::endl;
        }
    }
}

template class gaussian_mixture<float>;
template class gaussian_mixture<double>;
