// Vector arithmetic on n contiguous elements, the building blocks of the Gaussian
// mixture and of Fisher encoding, for float and double. The reductions keep several
// partial sums (one per vector lane) and add them at the end.
#ifndef LINK_GMM_SIMD_H
#define LINK_GMM_SIMD_H

namespace simd
{

// sum of a[i] * b[i]
template <class T> T dot_product(int n, const T* a, const T* b);
// a[i] *= c
template <class T> void scale(int n, T* a, T c);
// a[i] += c
template <class T> void offset(int n, T* a, T c);
// a[i] -= b[i]
template <class T> void sub(int n, T* a, const T* b);
// a[i] -= b[i] * b[i]
template <class T> void sub2(int n, T* a, const T* b);
// a[i] += b[i]
template <class T> void add(int n, T* a, const T* b);
// a[i] += c * b[i]
template <class T> void add(int n, T* a, const T* b, T c);
// a[i] += c * b[i] * b[i]
template <class T> void add2(int n, T* a, const T* b, T c);
// a[i] *= b[i]
template <class T> void mult(int n, T* a, const T* b);
// sum of (a[i] - b[i])^2
template <class T> T l2_sq(int n, const T* a, const T* b);
// sum of w[i] * (a[i] - b[i])^2
template <class T> T weighted_l2_sq(int n, const T* a, const T* b, const T* w);
// s1[i] += x[i]; s2[i] += x[i] * x[i]
template <class T> void accumulate_stat(int n, T* s1, T* s2, const T* x);
// s1[i] += c * x[i]; s2[i] += c * x[i] * x[i]
template <class T> void accumulate_stat(int n, T* s1, T* s2, const T* x, T c);
// s1[i] += x[i]
template <class T> void accumulate_stat(int n, T* s1, const T* x);
// s1[i] += c * x[i]
template <class T> void accumulate_stat(int n, T* s1, const T* x, T c);
// s[i] += c * (x[i] - m[i])^2
template <class T> void accumulate_stat_centered(int n, T* s, const T* x, const T* m, T c);
// out[i] = (x[i] - m[i]) * f[i]
template <class T> void standardize(int n, T* out, const T* x, const T* m, const T* f);

} // namespace simd

#endif
