#include "core/array/MakeGaussIIR1d.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <new>

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

struct complex
{
    double re;
    double im;
};

complex Mul(const complex& a, const complex& b)
{
    complex r;
    r.re = a.re * b.re - a.im * b.im;
    r.im = a.re * b.im + a.im * b.re;
    return r;
}

// Adds to *coef the products of all index tuples j1 > j2 > ... > j_order of the
// poles, `product` holding the product of the indices chosen above `level`.
void FilterCoef(int order, int n, complex* poles, int level, int stop, complex product, complex* coef)
{
    for (int j = stop - 1; j >= order - level; --j)
    {
        const complex p = Mul(product, poles[j]);
        if (level == order)
        {
            coef->re += p.re;
            coef->im += p.im;
        }
        else
        {
            FilterCoef(order, n, poles, level + 1, j, p, coef);
        }
    }
}

// Start poles with positive imaginary part: pairs first, then the real pole.
void StartPoles(int n, int order, complex* poles)
{
    struct Entry
    {
        double re1, im1, re2, im2, real;
    };
    static const Entry sTable3[3] = {{1.4165, 1.00829, 0, 0, 1.86131},
                                     {1.32094, 0.97057, 0, 0, 1.77635},
                                     {1.21969, 0.91724, 0, 0, 1.69485}};
    static const Entry sTable4[3] = {{1.13231, 1.28122, 1.78532, 0.46766, 0},
                                     {1.04198, 1.25046, 1.69337, 0.45006, 0},
                                     {0.94576, 1.21364, 1.59892, 0.42668, 0}};
    static const Entry sTable5[3] = {{0.85991, 1.45235, 1.60953, 0.83009, 1.8704},
                                     {0.70237, 1.38717, 1.4328, 0.77903, 1.70346},
                                     {0.70381, 1.38271, 1.42239, 0.77978, 1.69319}};
    Entry e = {0, 0, 0, 0, 0};
    switch (n)
    {
    case 1: e.real = 2.0; break;
    case 2: e.re1 = 1.6958; e.im1 = 0.59955; break;
    case 3: e = sTable3[order]; break;
    case 4: e = sTable4[order]; break;
    case 5: e = sTable5[order]; break;
    default: return;
    }
    int i = 0;
    if (n >= 2)
    {
        poles[i++] = {e.re1, e.im1};
        poles[i++] = {e.re1, -e.im1};
    }
    if (n >= 4)
    {
        poles[i++] = {e.re2, e.im2};
        poles[i++] = {e.re2, -e.im2};
    }
    if (n % 2 == 1)
        poles[i++] = {e.real, 0.0};
}

complex ScalePole(const complex& d, double q)
{
    const double phase = std::atan(d.im / d.re);
    const double radius = std::exp(std::log(std::sqrt(d.re * d.re + d.im * d.im)) / q);
    return {radius * std::cos(phase / q), radius * std::sin(phase / q)};
}

// Standard deviation of the filter whose poles are `poles` scaled by q.
double PoleDeviation(int n, const complex* poles, double q)
{
    double v = 0.0;
    int i = 0;
    for (; i + 1 < n; i += 2)
    {
        const complex s = ScalePole(poles[i], q);
        const double u = s.re;
        const double w = s.im;
        const double den = u * u - 2 * u + 1 + w * w;
        v += 4 * (u + (u - 2) * (u * u + w * w)) / (den * den);
    }
    if (i < n)
    {
        const double u = ScalePole(poles[i], q).re;
        v += 2 * u / ((u - 1) * (u - 1));
    }
    return std::sqrt(v);
}

} // namespace

Array2dReal64* MakeGaussIIR1d(double sigma, int order, int precision)
{
    const int width = 2 * std::max(precision, 0) + 1;
    double* k = static_cast<double*>(::operator new(static_cast<size_t>(width) * sizeof(double)));
    const int n = std::max(std::min(precision, 5), 0);
    if (order > 2)
    {
        std::cout << "MakeGaussIIR1d : derivative order too large" << std::endl;
        order = 2;
    }
    if (order < 0)
        order = 0;
    for (int i = 0; i < width; ++i)
        k[i] = 0.0;

    complex poles[5];
    StartPoles(n, order, poles);

    // q moves by half the remaining error of the deviation at each step.
    const double q0 = sigma / 2;
    double q = q0;
    double s = PoleDeviation(n, poles, q);
    // Without poles there is nothing to fit: the filter passes its input through. A
    // deviation the poles cannot reach (sigma 0 or below) must not loop for ever; every
    // reachable one converges in far fewer steps than the bound.
    for (int step = 0; n >= 1 && std::fabs(sigma - s) > 1e-6 && step < 100000; ++step)
    {
        q = q0 - (s / 2 - q);
        s = PoleDeviation(n, poles, q);
    }
    for (int i = 0; i < n; ++i)
        poles[i] = ScalePole(poles[i], q);

    // a[N - i] is the elementary symmetric polynomial of degree i of the poles.
    double a[6] = {0, 0, 0, 0, 0, 0};
    a[n] = 1.0;
    if (n >= 1)
    {
        complex e1 = {0.0, 0.0};
        for (int i = 0; i < n; ++i)
        {
            e1.re += poles[i].re;
            e1.im += poles[i].im;
        }
        a[n - 1] = e1.re;
    }
    for (int i = n - 2; i >= 0; --i)
    {
        complex ei = {0.0, 0.0};
        FilterCoef(n - i, n, poles, 1, n, complex{1.0, 0.0}, &ei);
        a[i] = ei.re;
    }
    const double a0 = a[0];
    for (int j = n; j >= 0; --j)
    {
        a[j] = ((j % 2 == 1) ? -a[j] : a[j]) / a0;
        k[n + j] = -a[j];
    }
    double sum = 0.0;
    for (int i = n; i <= 2 * n; ++i)
        sum += k[i];
    k[n] = std::fabs(sum);
    for (int i = 0; i < n; ++i)
        k[i] = k[2 * n - i];
    return new Array2dReal64(width, 1, 0, 0, k, false, false);
}

void YvVfilterCoef(double sigma, double* coef)
{
    const double q = sigma >= 3.556 ? 2.5091 + 0.9804 * (sigma - 3.556) : -0.2568 + 0.5784 * sigma + 0.0561 * sigma * sigma;
    const double s = (q + 1.1668) * (q * q + 2.21566 * q + 3.2037296485);
    coef[0] = coef[6] = q * q * q / s;
    coef[1] = coef[5] = -(3 * q + 3.38246) * q * q / s;
    coef[2] = coef[4] = q * (3 * q * q + 6.76492 * q + 5.7889617365) / s;
    coef[3] = 3.7381117538698008 / s;
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
