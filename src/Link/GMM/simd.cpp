#include "Link/GMM/simd.h"

namespace simd
{

namespace
{

// Partial sums per lane: wide enough for the vector units, and each lane is a plain
// chain the compiler can vectorise without reordering it.
const int lanes = 8;

template <class T>
T sum_lanes(const T* acc)
{
    return ((acc[0] + acc[1]) + (acc[2] + acc[3])) + ((acc[4] + acc[5]) + (acc[6] + acc[7]));
}

} // namespace

template <class T>
T dot_product(int n, const T* a, const T* b)
{
    T acc[lanes] = {};
    int i = 0;
    for (; i + lanes <= n; i += lanes)
        for (int l = 0; l < lanes; l++)
            acc[l] += a[i + l] * b[i + l];
    T sum = sum_lanes(acc);
    for (; i < n; i++)
        sum += a[i] * b[i];
    return sum;
}

template <class T>
void scale(int n, T* a, T c)
{
    for (int i = 0; i < n; i++)
        a[i] *= c;
}

template <class T>
void offset(int n, T* a, T c)
{
    for (int i = 0; i < n; i++)
        a[i] += c;
}

template <class T>
void sub(int n, T* a, const T* b)
{
    for (int i = 0; i < n; i++)
        a[i] -= b[i];
}

template <class T>
void sub2(int n, T* a, const T* b)
{
    for (int i = 0; i < n; i++)
        a[i] -= b[i] * b[i];
}

template <class T>
void add(int n, T* a, const T* b)
{
    for (int i = 0; i < n; i++)
        a[i] += b[i];
}

template <class T>
void add(int n, T* a, const T* b, T c)
{
    for (int i = 0; i < n; i++)
        a[i] += c * b[i];
}

template <class T>
void add2(int n, T* a, const T* b, T c)
{
    for (int i = 0; i < n; i++)
        a[i] += c * b[i] * b[i];
}

template <class T>
void mult(int n, T* a, const T* b)
{
    for (int i = 0; i < n; i++)
        a[i] *= b[i];
}

template <class T>
T l2_sq(int n, const T* a, const T* b)
{
    T acc[lanes] = {};
    int i = 0;
    for (; i + lanes <= n; i += lanes)
        for (int l = 0; l < lanes; l++)
        {
            const T d = a[i + l] - b[i + l];
            acc[l] += d * d;
        }
    T sum = sum_lanes(acc);
    for (; i < n; i++)
    {
        const T d = a[i] - b[i];
        sum += d * d;
    }
    return sum;
}

template <class T>
T weighted_l2_sq(int n, const T* a, const T* b, const T* w)
{
    T acc[lanes] = {};
    int i = 0;
    for (; i + lanes <= n; i += lanes)
        for (int l = 0; l < lanes; l++)
        {
            const T d = a[i + l] - b[i + l];
            acc[l] += w[i + l] * d * d;
        }
    T sum = sum_lanes(acc);
    for (; i < n; i++)
    {
        const T d = a[i] - b[i];
        sum += w[i] * d * d;
    }
    return sum;
}

template <class T>
void accumulate_stat(int n, T* s1, T* s2, const T* x)
{
    for (int i = 0; i < n; i++)
    {
        s1[i] += x[i];
        s2[i] += x[i] * x[i];
    }
}

template <class T>
void accumulate_stat(int n, T* s1, T* s2, const T* x, T c)
{
    for (int i = 0; i < n; i++)
    {
        const T cx = c * x[i];
        s1[i] += cx;
        s2[i] += cx * x[i];
    }
}

template <class T>
void accumulate_stat(int n, T* s1, const T* x)
{
    add(n, s1, x);
}

template <class T>
void accumulate_stat(int n, T* s1, const T* x, T c)
{
    add(n, s1, x, c);
}

template <class T>
void accumulate_stat_centered(int n, T* s, const T* x, const T* m, T c)
{
    for (int i = 0; i < n; i++)
    {
        const T d = x[i] - m[i];
        s[i] += c * d * d;
    }
}

template <class T>
void standardize(int n, T* out, const T* x, const T* m, const T* f)
{
    for (int i = 0; i < n; i++)
        out[i] = (x[i] - m[i]) * f[i];
}

#define SIMD_INSTANTIATE(T)                                                                \
    template T dot_product<T>(int, const T*, const T*);                                    \
    template void scale<T>(int, T*, T);                                                    \
    template void offset<T>(int, T*, T);                                                   \
    template void sub<T>(int, T*, const T*);                                               \
    template void sub2<T>(int, T*, const T*);                                              \
    template void add<T>(int, T*, const T*);                                               \
    template void add<T>(int, T*, const T*, T);                                            \
    template void add2<T>(int, T*, const T*, T);                                           \
    template void mult<T>(int, T*, const T*);                                              \
    template T l2_sq<T>(int, const T*, const T*);                                          \
    template T weighted_l2_sq<T>(int, const T*, const T*, const T*);                       \
    template void accumulate_stat<T>(int, T*, T*, const T*);                               \
    template void accumulate_stat<T>(int, T*, T*, const T*, T);                            \
    template void accumulate_stat<T>(int, T*, const T*);                                   \
    template void accumulate_stat<T>(int, T*, const T*, T);                                \
    template void accumulate_stat_centered<T>(int, T*, const T*, const T*, T);             \
    template void standardize<T>(int, T*, const T*, const T*, const T*);

SIMD_INSTANTIATE(float)
SIMD_INSTANTIATE(double)

} // namespace simd
