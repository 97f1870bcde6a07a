// Sample statistics on a list of rows of length n: mean, unbiased variance, and the
// standardisation of samples in place (and its inverse).
#ifndef LINK_GMM_STAT_H
#define LINK_GMM_STAT_H

#include <vector>

template <class T> void sample_mean(std::vector<T*>& samples, T* mean, int n);
template <class T> void sample_variance(std::vector<T*>& samples, T* mean, T* var, int n);
template <class T> void sample_variance(std::vector<T*>& samples, T* var, int n);
// mean and var receive the statistics; a constant dimension becomes 0.
template <class T> void standardize(std::vector<T*>& samples, T* mean, T* var, int n);
template <class T> void destandardize(std::vector<T*>& samples, T* mean, T* var, int n);

#endif
