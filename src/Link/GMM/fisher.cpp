#include "Link/GMM/fisher.h"

#include <cmath>
#include <iostream>
#include <limits>

#include "Link/GMM/gmm_assert.h"
#include "Link/GMM/simd.h"

namespace
{

// The square root in single precision, whatever T is: part of the encoding's numbers.
template <class T>
T float_sqrt(T f)
{
    return static_cast<T>(std::sqrt(static_cast<float>(f)));
}

} // namespace

void fisher_param::print()
{
    std::cout << "  grad_weights = " << grad_weights << std::endl;
    std::cout << "  grad_means = " << grad_means << std::endl;
    std::cout << "  grad_variances = " << grad_variances << std::endl;
    std::cout << "  alpha = " << alpha << std::endl;
    std::cout << "  pnorm = " << pnorm << std::endl;
}

template <class T>
fisher<T>::fisher(fisher_param& _param)
    : param(_param), ndim(0), ngauss(0), ngrad(0), fisher_dim(0), gmm(nullptr), i_coef(nullptr), i_std(nullptr)
{
    GMM_ASSERT((param.alpha>0.0) && (param.alpha<=1.0));
    ngrad = param.grad_weights + param.grad_means + param.grad_variances;
}

template <class T>
fisher<T>::~fisher()
{
    delete[] i_coef;
    delete[] i_std;
}

template <class T>
bool fisher<T>::equal(T a, T b) const
{
    return std::fabs(a - b) < std::numeric_limits<T>::epsilon();
}

template <class T>
void fisher<T>::set_model(gaussian_mixture<T>& _gmm)
{
    gmm = &_gmm;
    ndim = gmm->n_dim();
    ngauss = gmm->n_gauss();
    fisher_dim = 0;
    if (param.grad_weights)
        fisher_dim += ngauss;
    if (param.grad_means)
        fisher_dim += ndim * ngauss;
    if (param.grad_variances)
        fisher_dim += ndim * ngauss;

    delete[] i_coef;
    delete[] i_std;
    i_coef = new T[ngauss];
    i_std = nullptr;
    for (int j = 0; j < ngauss; j++)
    {
        GMM_ASSERT(gmm->coef[j]>0.0);
        i_coef[j] = static_cast<T>(1) / gmm->coef[j];
    }
    if (param.grad_means || param.grad_variances)
    {
        i_std = new T[static_cast<size_t>(ngauss) * ndim];
        for (int j = 0; j < ngauss; j++)
        {
            const T* var_j = gmm->var[j];
            T* i_std_j = i_std + static_cast<size_t>(j) * ndim;
            for (int k = 0; k < ndim; k++)
            {
                GMM_ASSERT(var_j[k]>0.0);
                i_std_j[k] = static_cast<T>(1) / float_sqrt(var_j[k]);
            }
        }
    }
}

template <class T>
void fisher<T>::compute(std::vector<T*>& x, T* out)
{
    GMM_ASSERT(gmm);
    const T wghsum = static_cast<T>(x.size());
    GMM_ASSERT(wghsum>0);
    encode(x, wghsum, out);
}

template <class T>
int fisher<T>::compute(std::vector<T*>& x, std::vector<T>& wghx, T* out)
{
    GMM_ASSERT(gmm);
    GMM_ASSERT(x.size()==wghx.size());
    T wghsum = 0;
    for (T w : wghx)
        wghsum += w;
    GMM_ASSERT(wghsum>0);
    encode(x, wghsum, out);
    return 0;
}

template <class T>
void fisher<T>::encode(std::vector<T*>& x, T wghsum, T* out)
{
    const bool means_or_vars = param.grad_means || param.grad_variances;
    gmm->reset_stat_acc();
    gmm->accumulate_statistics(x, true, means_or_vars, param.grad_variances);

    const T* s0 = gmm->s0;
    T* p = out;
    if (param.grad_weights)
        for (int j = 0; j < ngauss; j++)
            *p++ = s0[j] / (float_sqrt(i_coef[j]) * wghsum);
    if (param.grad_means)
        for (int j = 0; j < ngauss; j++)
        {
            const T q = float_sqrt(i_coef[j]) / wghsum;
            const T* s1 = gmm->s1[j];
            const T* mean = gmm->mean[j];
            const T* i_std_j = i_std + static_cast<size_t>(j) * ndim;
            for (int k = 0; k < ndim; k++)
                *p++ = (s1[k] - mean[k] * s0[j]) * q * i_std_j[k];
        }
    if (param.grad_variances)
        for (int j = 0; j < ngauss; j++)
        {
            const float half_i_coef = 0.5f * static_cast<float>(i_coef[j]);
            const T q = static_cast<T>(std::sqrt(half_i_coef)) / wghsum;
            const T* s1 = gmm->s1[j];
            const T* s2 = gmm->s2[j];
            const T* mean = gmm->mean[j];
            const T* var = gmm->var[j];
            for (int k = 0; k < ndim; k++)
            {
                const T m = mean[k];
                *p++ = ((m * (m * s0[j] - 2 * s1[k]) + s2[k]) / var[k] - s0[j]) * q;
            }
        }
    alpha_and_lp_normalization(out);
}

template <class T>
void fisher<T>::alpha_and_lp_normalization(T* v)
{
    const T e = std::numeric_limits<T>::epsilon();
    const T alpha = static_cast<T>(param.alpha);
    const int n = fisher_dim;
    if (std::fabs(alpha - 1) < e)
    {
    }
    else if (std::fabs(alpha - static_cast<T>(0.5)) < e)
    {
        for (int i = 0; i < n; i++)
            v[i] = v[i] < 0 ? -std::sqrt(-v[i]) : std::sqrt(v[i]);
    }
    else
    {
        for (int i = 0; i < n; i++)
            v[i] = v[i] < 0 ? -std::pow(-v[i], alpha) : std::pow(v[i], alpha);
    }

    const T pnorm = static_cast<T>(param.pnorm);
    if (std::fabs(pnorm) < e)
        return;
    T norm = 0;
    if (std::fabs(pnorm - 1) < e)
    {
        for (int i = 0; i < n; i++)
            norm += std::fabs(v[i]);
    }
    else if (std::fabs(pnorm - 2) < e)
        norm = std::sqrt(simd::dot_product(n, v, v));
    else
    {
        for (int i = 0; i < n; i++)
            norm += std::pow(std::fabs(v[i]), pnorm);
        norm = std::pow(norm, 1 / pnorm);
    }
    if (norm > 0)
        simd::scale(n, v, 1 / norm);
}

template class fisher<float>;
template class fisher<double>;
