#include "Link/GMM/fisher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/Mixtures.h"

using TestSupport::ConvertRows;
using TestSupport::DrawSamples;
using TestSupport::MixtureData;
using TestSupport::RandomMixture;
using TestSupport::ReferenceLogDensity;
using TestSupport::RelativeMaxError;
using TestSupport::RowPointers;

namespace
{

fisher_param Raw(bool weights = false)
{
    fisher_param p;
    p.grad_weights = weights;
    p.alpha = 1;
    p.pnorm = 0;
    return p;
}

void SetModel(gaussian_mixture<double>& g, MixtureData& m)
{
    std::vector<double*> mean = m.MeanRows(), var = m.VarRows();
    g.set(mean, var, m.coef);
}

double Norm(const std::vector<double>& v, double p)
{
    long double sum = 0;
    for (double x : v)
        sum += std::pow(std::fabs(static_cast<long double>(x)), static_cast<long double>(p));
    return static_cast<double>(std::pow(sum, 1 / static_cast<long double>(p)));
}

} // namespace

TEST(Fisher, SingleGaussianByHand)
{
    // mean 1, variance 4, samples 3 and 5: s0 = 2, s1 = 8, s2 = 34.
    gaussian_mixture<double> g(1, 1);
    MixtureData one{{1}, {{1}}, {{4}}};
    SetModel(g, one);
    fisher_param p = Raw(true);
    fisher<double> f(p);
    f.set_model(g);
    ASSERT_EQ(f.dim(), 3);
    std::vector<std::vector<double>> rows = {{3}, {5}};
    std::vector<double*> x = RowPointers(rows);
    std::vector<double> out(3);
    f.compute(x, out.data());
    EXPECT_EQ(out[0], 1.0);                                  // s0 / W
    EXPECT_EQ(out[1], 1.5);                                  // (8 - 2) / 2 / sqrt(4)
    const double root_half = static_cast<double>(std::sqrt(0.5f));
    EXPECT_EQ(out[2], 3 * (root_half / 2));                  // (34 / 4 - 2 ... ) = 3, times sqrt(1/2) / 2

    // Power and L2 normalisation of the same vector.
    fisher_param q;
    q.grad_weights = true;
    fisher<double> fn(q);
    fn.set_model(g);
    std::vector<double> normed(3);
    fn.compute(x, normed.data());
    const double n = std::sqrt(1.0 + 1.5 + 1.5 * root_half);
    EXPECT_NEAR(normed[0], 1 / n, 1e-15);
    EXPECT_NEAR(normed[1], std::sqrt(1.5) / n, 1e-15);
    EXPECT_NEAR(normed[2], std::sqrt(1.5 * root_half) / n, 1e-15);
}

TEST(Fisher, SampleAtAMeanOfTwoSeparatedGaussians)
{
    // At the mean of Gaussian 0: its mean gradient vanishes and each variance entry is
    // -s0 * sqrt(0.5 / 0.5) = -1; Gaussian 1, far away, takes no part.
    gaussian_mixture<double> g(2, 2);
    MixtureData two{{1, 1}, {{0, 0}, {100, 100}}, {{1, 1}, {1, 1}}};
    SetModel(g, two);
    fisher_param p = Raw();
    fisher<double> f(p);
    f.set_model(g);
    ASSERT_EQ(f.dim(), 8);
    std::vector<double*> x = {two.mean[0].data()};
    std::vector<double> out(8);
    f.compute(x, out.data());
    const std::vector<double> expected = {0, 0, 0, 0, -1, -1, 0, 0};
    for (int i = 0; i < 8; i++)
        EXPECT_EQ(out[i], expected[i]) << i;

    // A cell with one point: unit L2 norm after normalisation.
    fisher_param q;
    fisher<double> fn(q);
    fn.set_model(g);
    std::vector<double> one = {0.5, -0.25};
    std::vector<double*> y = {one.data()};
    fn.compute(y, out.data());
    EXPECT_NEAR(Norm(out, 2), 1.0, 1e-15);
}

// The raw gradient against the formulas evaluated directly in long double, with the
// posteriors from the textbook densities and the single-precision roots of the model.
TEST(Fisher, ComputeMatchesDirectEvaluationOfTheGradient)
{
    for (double spread : {6.0, 0.5})
    {
        SCOPED_TRACE(spread);
        const int K = 12, D = 7, N = 700;
        MixtureData m = RandomMixture(K, D, spread, 21);
        gaussian_mixture<double> g(K, D);
        SetModel(g, m);
        std::vector<std::vector<double>> samples = DrawSamples(m, N, 22);
        std::vector<double*> x = RowPointers(samples);
        const double min_gamma = g.param.min_gamma;

        std::vector<long double> s0(K, 0), mu(K * D, 0), sig(K * D, 0), post;
        for (std::vector<double>& xi : samples)
        {
            ReferenceLogDensity(m, xi.data(), &post);
            for (int j = 0; j < K; j++)
            {
                s0[j] += post[j];
                for (int k = 0; k < D; k++)
                {
                    // Posteriors below min_gamma enter the sums of x and x^2 not at all.
                    const long double gx = post[j] < min_gamma ? 0 : post[j];
                    const long double d = xi[k] - static_cast<long double>(m.mean[j][k]);
                    mu[j * D + k] += gx * xi[k] - post[j] * static_cast<long double>(m.mean[j][k]);
                    sig[j * D + k] += gx * d * d / m.var[j][k] +
                                      (post[j] - gx) * static_cast<long double>(m.mean[j][k]) * m.mean[j][k] /
                                          m.var[j][k] -
                                      post[j];
                }
            }
        }
        std::vector<long double> expected(K + 2 * K * D);
        for (int j = 0; j < K; j++)
        {
            const long double sqrt_i_coef = std::sqrt(static_cast<float>(1 / g.get_coef()[j]));
            const long double sqrt_half_i_coef = std::sqrt(0.5f * static_cast<float>(1 / g.get_coef()[j]));
            expected[j] = s0[j] / (sqrt_i_coef * N);
            for (int k = 0; k < D; k++)
            {
                const long double i_std = 1 / static_cast<long double>(std::sqrt(static_cast<float>(m.var[j][k])));
                expected[K + j * D + k] = mu[j * D + k] * sqrt_i_coef / N * i_std;
                expected[K + K * D + j * D + k] = sig[j * D + k] * sqrt_half_i_coef / N;
            }
        }

        fisher_param p = Raw(true);
        fisher<double> f(p);
        f.set_model(g);
        ASSERT_EQ(f.dim(), K + 2 * K * D);
        std::vector<double> out(f.dim());
        f.compute(x, out.data());
        EXPECT_LT(RelativeMaxError(out, expected, f.dim()), 1e-12);

        // Weights enter only through their sum.
        std::vector<double> weights(N, 2.0), half(f.dim());
        EXPECT_EQ(f.compute(x, weights, half.data()), 0);
        for (int i = 0; i < f.dim(); i++)
            EXPECT_NEAR(half[i], out[i] / 2, 1e-15 * std::fabs(out[i]) + 1e-300);

        // Normalised forms: signed square roots with unit L2 norm, or the L1 / L3 norm.
        for (float pnorm : {2.0f, 1.0f, 3.0f, 0.0f})
        {
            fisher_param q;
            q.grad_weights = true;
            q.pnorm = pnorm;
            fisher<double> fq(q);
            fq.set_model(g);
            std::vector<double> v(fq.dim());
            fq.compute(x, v.data());
            std::vector<double> roots(out.size());
            for (size_t i = 0; i < out.size(); i++)
                roots[i] = out[i] < 0 ? -std::sqrt(-out[i]) : std::sqrt(out[i]);
            const double scale = pnorm == 0 ? 1 : Norm(roots, pnorm);
            if (pnorm != 0)
            {
                EXPECT_NEAR(Norm(v, pnorm), 1.0, 1e-12) << pnorm;
            }
            for (size_t i = 0; i < out.size(); i++)
                ASSERT_NEAR(v[i], roots[i] / scale, 1e-12) << pnorm << " " << i;
        }

        // Another exponent goes through pow.
        fisher_param a;
        a.alpha = 0.25f;
        a.pnorm = 0;
        fisher<double> fa(a);
        fa.set_model(g);
        std::vector<double> v(fa.dim());
        fa.compute(x, v.data());
        for (int i = 0; i < fa.dim(); i++)
        {
            const double r = out[K + i];
            ASSERT_NEAR(v[i], r < 0 ? -std::pow(-r, 0.25) : std::pow(r, 0.25), 1e-12);
        }
    }
}

TEST(Fisher, FloatInstantiationAgreesWithDouble)
{
    const int K = 8, D = 6;
    MixtureData m = RandomMixture(K, D, 3.0, 31);
    std::vector<std::vector<double>> samples = DrawSamples(m, 300, 32);
    gaussian_mixture<double> gd(K, D);
    SetModel(gd, m);
    gaussian_mixture<float> gf(K, D);
    std::vector<std::vector<float>> fm = ConvertRows<float>(m.mean), fv = ConvertRows<float>(m.var),
                                    fs = ConvertRows<float>(samples);
    std::vector<float*> fmr = RowPointers(fm), fvr = RowPointers(fv), fx = RowPointers(fs);
    std::vector<float> fc(m.coef.begin(), m.coef.end());
    gf.set(fmr, fvr, fc);
    std::vector<double*> dx = RowPointers(samples);

    fisher_param p;
    fisher<double> fd(p);
    fd.set_model(gd);
    fisher<float> ff(p);
    ff.set_model(gf);
    std::vector<double> od(fd.dim());
    std::vector<float> of(ff.dim());
    fd.compute(dx, od.data());
    ff.compute(fx, of.data());
    // The variance part cancels (x^2 / var against m^2 / var), which costs single
    // precision a digit more than the statistics themselves.
    EXPECT_LT(RelativeMaxError(of, od, fd.dim()), 1e-4);
    EXPECT_TRUE(ff.equal(1.0f, 1.0f + 1e-8f));
    EXPECT_FALSE(fd.equal(1.0, 1.0 + 1e-15));
}

TEST(Fisher, ContractViolationsAbort)
{
    fisher_param p;
    p.alpha = 0;
    EXPECT_DEATH(fisher<double> f(p), "\\(param.alpha>0.0\\) && \\(param.alpha<=1.0\\)");
    fisher_param q;
    gaussian_mixture<double> g(1, 1);
    fisher<double> f(q);
    f.set_model(g);
    std::vector<double> one = {1}, w = {0}, out(2);
    std::vector<double*> x = {one.data()};
    EXPECT_DEATH(f.compute(x, w, out.data()), "wghsum>0");
}
