// A Gaussian mixture with diagonal covariances: evaluation, the statistics that EM
// and Fisher encoding accumulate, EM training and the binary model file
// (int32 ngauss, int32 ndim, then per Gaussian coef, ndim means, ndim variances, all
// of sizeof(T), native byte order). Rows are plain arrays owned by the mixture.
#ifndef LINK_GMM_GMM_H
#define LINK_GMM_GMM_H

#include <vector>

struct em_param
{
    int max_iter = 100;
    float alpha = 100.0f;
    float llh_diff_thr = 0.001f;
    float min_gamma = 0.0001f;
    float variance_floor = 1e-9f;
    float variance_floor_factor = 0.01f;

    void print();
};

template <class T>
class gaussian_mixture
{
public:
    double t_log_gauss;
    T** mean;
    T** var;
    T* coef;
    T* s0;
    T** s1;
    T** s2;
    em_param param;
    T** i_var;
    T* var_floor;
    T* log_coef;
    T* log_var_sum;
    int ngauss;
    int ndim;
    int nsamples;
    T log_2pi_d;

    gaussian_mixture(int ngauss, int ndim);
    gaussian_mixture(em_param& param, int ngauss, int ndim);
    // An empty mixture (no Gaussians) when the file cannot be read.
    explicit gaussian_mixture(const char* filename);
    ~gaussian_mixture();
    gaussian_mixture(const gaussian_mixture&) = delete;
    gaussian_mixture& operator=(const gaussian_mixture&) = delete;

    int n_dim() const { return ndim; }
    int n_gauss() const { return ngauss; }
    T** get_mean() { return mean; }
    T** get_var() { return var; }
    T* get_coef() { return coef; }

    void init();
    void clean();

    void set(std::vector<T*>& mean, std::vector<T*>& var, std::vector<T>& coef);
    void set_mean(std::vector<T*>& _mean);
    void set_variance(std::vector<T*>& _var);
    void set_mixing_coefficients(std::vector<T>& _coef);

    T log_gauss(int j, T* x);
    // Log-likelihood of x; log_pdf, when given, receives the log posteriors.
    T log_p(T* x, T* log_pdf = nullptr);
    T posterior(T* x, T* out);
    T log_likelihood(std::vector<T*>& samples);

    T accumulate_statistics(T* x, bool s0 = true, bool s1 = true, bool s2 = true);
    // The same for every sample, in order, by blocks; gives the sum of the samples'
    // log-likelihoods.
    T accumulate_statistics(std::vector<T*>& samples, bool s0 = true, bool s1 = true, bool s2 = true);

    void reset_stat_acc();
    void precompute_aux_var();
    void update_model();
    void compute_variance_floor(std::vector<T*>& samples);
    void em(std::vector<T*>& samples);

    int save(const char* filename);
    int load(const char* filename);
    void print(bool print_coef, bool print_mean, bool print_var);

private:
    void free_stat_acc();
    void accumulate_block(T* const* x, int nb, bool b0, bool b1, bool b2, T& llh_sum);

    // Operands of the block evaluation, refreshed with the auxiliary variables:
    // log_gauss(j, x) = -0.5 * (block_const[j] + [(x-c)^2, (x-c)] . block_w[:, j]).
    std::vector<T> centre;
    std::vector<T> block_w;
    std::vector<T> block_const;
    // Scratch of the block evaluation and the dense statistics.
    std::vector<T> block_x;
    std::vector<T> block_v;
    std::vector<T> block_s;
    std::vector<T> scratch;
    bool block_s_used = false;
};

extern template class gaussian_mixture<float>;
extern template class gaussian_mixture<double>;

#endif
