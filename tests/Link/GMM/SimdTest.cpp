#include "Link/GMM/simd.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

template <class T>
std::vector<T> RandomVector(int n, std::mt19937& rng, double low = -2, double high = 3)
{
    std::uniform_real_distribution<double> u(low, high);
    std::vector<T> v(n);
    for (T& x : v)
        x = static_cast<T>(u(rng));
    return v;
}

// Reductions may be regrouped: they must stay near the plain loop in index order.
template <class T>
void CheckReductions(double tolerance)
{
    std::mt19937 rng(7);
    for (int n : {0, 1, 5, 8, 9, 16, 31, 128, 1001})
    {
        const std::vector<T> a = RandomVector<T>(n, rng), b = RandomVector<T>(n, rng);
        const std::vector<T> w = RandomVector<T>(n, rng, 0.1, 2);
        T dot = 0, l2 = 0, wl2 = 0, abs_dot = 0;
        for (int i = 0; i < n; i++)
        {
            dot += a[i] * b[i];
            abs_dot += std::abs(a[i] * b[i]);
            l2 += (a[i] - b[i]) * (a[i] - b[i]);
            wl2 += w[i] * (a[i] - b[i]) * (a[i] - b[i]);
        }
        // The dot product may cancel: measured against the sum of magnitudes.
        EXPECT_LE(std::abs(simd::dot_product(n, a.data(), b.data()) - dot), tolerance * abs_dot) << n;
        EXPECT_LE(std::abs(simd::l2_sq(n, a.data(), b.data()) - l2), tolerance * l2) << n;
        EXPECT_LE(std::abs(simd::weighted_l2_sq(n, a.data(), b.data(), w.data()) - wl2), tolerance * wl2) << n;
    }
    EXPECT_EQ(simd::dot_product<T>(0, nullptr, nullptr), 0);
}

// Element-wise operations keep the written arithmetic, so they match a plain loop to
// the bit, tails included.
template <class T>
void CheckElementWise()
{
    std::mt19937 rng(11);
    for (int n : {1, 7, 8, 13, 130})
    {
        const std::vector<T> a0 = RandomVector<T>(n, rng), b = RandomVector<T>(n, rng), m = RandomVector<T>(n, rng);
        const T c = static_cast<T>(0.37);
        auto check = [&](const char* what, auto op, auto plain) {
            std::vector<T> fast = a0, slow = a0;
            op(fast.data());
            for (int i = 0; i < n; i++)
                plain(slow[i], i);
            for (int i = 0; i < n; i++)
                ASSERT_EQ(fast[i], slow[i]) << what << " n=" << n << " i=" << i;
        };
        check("scale", [&](T* a) { simd::scale(n, a, c); }, [&](T& x, int) { x *= c; });
        check("offset", [&](T* a) { simd::offset(n, a, c); }, [&](T& x, int) { x += c; });
        check("sub", [&](T* a) { simd::sub(n, a, b.data()); }, [&](T& x, int i) { x -= b[i]; });
        check("sub2", [&](T* a) { simd::sub2(n, a, b.data()); }, [&](T& x, int i) { x -= b[i] * b[i]; });
        check("add", [&](T* a) { simd::add(n, a, b.data()); }, [&](T& x, int i) { x += b[i]; });
        check("add c", [&](T* a) { simd::add(n, a, b.data(), c); }, [&](T& x, int i) { x += c * b[i]; });
        check("add2", [&](T* a) { simd::add2(n, a, b.data(), c); }, [&](T& x, int i) { x += c * b[i] * b[i]; });
        check("mult", [&](T* a) { simd::mult(n, a, b.data()); }, [&](T& x, int i) { x *= b[i]; });
        check("accumulate_stat s1", [&](T* a) { simd::accumulate_stat(n, a, b.data()); },
              [&](T& x, int i) { x += b[i]; });
        check("accumulate_stat s1 c", [&](T* a) { simd::accumulate_stat(n, a, b.data(), c); },
              [&](T& x, int i) { x += c * b[i]; });
        check("accumulate_stat_centered", [&](T* a) { simd::accumulate_stat_centered(n, a, b.data(), m.data(), c); },
              [&](T& x, int i) { x += c * (b[i] - m[i]) * (b[i] - m[i]); });
        check("standardize", [&](T* a) { simd::standardize(n, a, b.data(), m.data(), a0.data()); },
              [&](T& x, int i) { x = (b[i] - m[i]) * a0[i]; });

        std::vector<T> s1 = a0, s2 = m, t1 = a0, t2 = m, u1 = a0, u2 = m;
        simd::accumulate_stat(n, s1.data(), s2.data(), b.data());
        simd::accumulate_stat(n, u1.data(), u2.data(), b.data(), c);
        for (int i = 0; i < n; i++)
        {
            ASSERT_EQ(s1[i], t1[i] + b[i]);
            ASSERT_EQ(s2[i], t2[i] + b[i] * b[i]);
            ASSERT_EQ(u1[i], t1[i] + c * b[i]);
            ASSERT_EQ(u2[i], t2[i] + c * b[i] * b[i]);
        }
    }
}

} // namespace

TEST(Simd, ReductionsStayWithinToleranceOfPlainLoops)
{
    CheckReductions<double>(1e-12);
    CheckReductions<float>(1e-5);
}

TEST(Simd, ElementWiseOperationsMatchPlainLoopsBitForBit)
{
    CheckElementWise<double>();
    CheckElementWise<float>();
}
