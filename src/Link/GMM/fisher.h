// Fisher vector of a set of samples under a Gaussian mixture: the normalised
// gradient of their log-likelihood with respect to the weights, means and variances
// (each part optional, in that order, Gaussian-major), then power and Lp
// normalisation. The mixture is borrowed; its accumulators are used as scratch.
#ifndef LINK_GMM_FISHER_H
#define LINK_GMM_FISHER_H

#include <vector>

#include "Link/GMM/gmm.h"

struct fisher_param
{
    bool grad_weights = false;
    bool grad_means = true;
    bool grad_variances = true;
    float alpha = 0.5f;
    float pnorm = 2.0f;

    void print();
};

template <class T>
class fisher
{
public:
    fisher_param param;
    int ndim;
    int ngauss;
    int ngrad;
    int fisher_dim;
    gaussian_mixture<T>* gmm;
    T* i_coef;
    T* i_std;

    explicit fisher(fisher_param& _param);
    ~fisher();
    fisher(const fisher&) = delete;
    fisher& operator=(const fisher&) = delete;

    int dim() const { return fisher_dim; }
    bool equal(T a, T b) const;

    void set_model(gaussian_mixture<T>& _gmm);
    // out receives dim() values.
    void compute(std::vector<T*>& x, T* out);
    int compute(std::vector<T*>& x, std::vector<T>& wghx, T* out);
    void alpha_and_lp_normalization(T* v);

private:
    void encode(std::vector<T*>& x, T wghsum, T* out);
};

extern template class fisher<float>;
extern template class fisher<double>;

#endif
