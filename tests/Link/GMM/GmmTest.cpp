#include "Link/GMM/gmm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/Mixtures.h"
#include "support/TestSupport.h"

using TestSupport::ConvertRows;
using TestSupport::DrawSamples;
using TestSupport::MixtureData;
using TestSupport::RandomMixture;
using TestSupport::ReferenceLogDensity;
using TestSupport::RelativeMaxError;
using TestSupport::RowPointers;

namespace
{

void SetModel(gaussian_mixture<double>& g, MixtureData& m)
{
    std::vector<double*> mean = m.MeanRows(), var = m.VarRows();
    g.set(mean, var, m.coef);
}

// Statistics of a sample list from the textbook formulas, in long double, with the
// same rule that posteriors below min_gamma add nothing to the first and second sums.
struct ReferenceStats
{
    std::vector<long double> s0, s1, s2;
    long double llh = 0;
};

ReferenceStats ReferenceStatistics(MixtureData& m, std::vector<std::vector<double>>& samples, double min_gamma)
{
    const int K = m.Gaussians(), D = m.Dims();
    ReferenceStats r;
    r.s0.assign(K, 0);
    r.s1.assign(K * D, 0);
    r.s2.assign(K * D, 0);
    std::vector<long double> post;
    for (const std::vector<double>& x : samples)
    {
        r.llh += ReferenceLogDensity(m, x.data(), &post);
        for (int j = 0; j < K; j++)
        {
            r.s0[j] += post[j];
            if (post[j] < min_gamma)
                continue;
            for (int k = 0; k < D; k++)
            {
                r.s1[j * D + k] += post[j] * x[k];
                r.s2[j * D + k] += post[j] * x[k] * x[k];
            }
        }
    }
    return r;
}

template <class T>
std::vector<T> Flatten(T** rows, int K, int D)
{
    std::vector<T> v;
    for (int j = 0; j < K; j++)
        v.insert(v.end(), rows[j], rows[j] + D);
    return v;
}

} // namespace

TEST(GaussianMixture, SingleGaussianHasPosteriorOneAndItsOwnLogDensity)
{
    gaussian_mixture<double> g(1, 3);
    MixtureData m{{3}, {{1, -2, 0.5}}, {{4, 0.25, 1}}};
    SetModel(g, m);
    EXPECT_EQ(g.get_coef()[0], 1.0);

    double x[3] = {2, -2.5, 0.5};
    // log N(x) = -0.5 * (3 log 2pi + log(4 * 0.25 * 1) + 1/4 + 0.25/0.25 + 0)
    const double expected = -0.5 * (3 * std::log(2 * M_PI) + 0.25 + 1.0);
    EXPECT_NEAR(g.log_gauss(0, x), expected, 1e-14);
    EXPECT_NEAR(g.log_p(x), expected, 1e-14);
    double post[1];
    EXPECT_NEAR(g.posterior(x, post), expected, 1e-14);
    EXPECT_EQ(post[0], 1.0);
}

TEST(GaussianMixture, LogLikelihoodAndPosteriorsMatchDirectEvaluation)
{
    MixtureData m = RandomMixture(5, 4, 2.0, 1);
    gaussian_mixture<double> g(5, 4);
    SetModel(g, m);
    std::vector<std::vector<double>> samples = DrawSamples(m, 50, 2);
    std::vector<long double> ref;
    double post[5], log_post[5];
    double sum = 0;
    for (std::vector<double>& x : samples)
    {
        const long double L = ReferenceLogDensity(m, x.data(), &ref);
        EXPECT_NEAR(g.log_p(x.data()), L, 1e-12 * std::fabs(L) + 1e-13);
        EXPECT_NEAR(g.log_p(x.data(), log_post), L, 1e-12 * std::fabs(L) + 1e-13);
        g.posterior(x.data(), post);
        for (int j = 0; j < 5; j++)
        {
            EXPECT_NEAR(post[j], ref[j], 1e-12);
            EXPECT_NEAR(std::exp(log_post[j]), ref[j], 1e-12);
        }
        sum += L;
    }
    std::vector<double*> rows = RowPointers(samples);
    EXPECT_NEAR(g.log_likelihood(rows), sum / 50, 1e-12);
}

// The statistics of a sample list agree with the long-double textbook sums, whether
// the posteriors above min_gamma are few (well-apart Gaussians) or many (overlapping
// ones), over several blocks, and sample by sample.
TEST(GaussianMixture, AccumulatedStatisticsMatchDirectSums)
{
    for (double spread : {40.0, 0.3})
    {
        SCOPED_TRACE(spread);
        const int K = 24, D = 10;
        MixtureData m = RandomMixture(K, D, spread, 3);
        gaussian_mixture<double> g(K, D);
        SetModel(g, m);
        std::vector<std::vector<double>> samples = DrawSamples(m, 1500, 4);
        std::vector<double*> rows = RowPointers(samples);
        ReferenceStats ref = ReferenceStatistics(m, samples, g.param.min_gamma);

        g.reset_stat_acc();
        const double llh = g.accumulate_statistics(rows, true, true, true);
        EXPECT_NEAR(llh, static_cast<double>(ref.llh), 1e-12 * std::fabs(static_cast<double>(ref.llh)));
        EXPECT_LT(RelativeMaxError(g.s0, ref.s0, K), 1e-12);
        EXPECT_LT(RelativeMaxError(Flatten(g.s1, K, D), ref.s1, K * D), 1e-12);
        EXPECT_LT(RelativeMaxError(Flatten(g.s2, K, D), ref.s2, K * D), 1e-12);

        g.reset_stat_acc();
        for (double* x : rows)
            g.accumulate_statistics(x, true, true, true);
        EXPECT_LT(RelativeMaxError(g.s0, ref.s0, K), 1e-12);
        EXPECT_LT(RelativeMaxError(Flatten(g.s1, K, D), ref.s1, K * D), 1e-12);
        EXPECT_LT(RelativeMaxError(Flatten(g.s2, K, D), ref.s2, K * D), 1e-12);

        // Flags off leave their sums alone.
        g.reset_stat_acc();
        g.accumulate_statistics(rows, false, true, false);
        EXPECT_EQ(g.s0[0], 0.0);
        EXPECT_EQ(g.s2[0][0], 0.0);
        EXPECT_LT(RelativeMaxError(Flatten(g.s1, K, D), ref.s1, K * D), 1e-12);

        // The float instantiation, within its own tolerance.
        gaussian_mixture<float> f(K, D);
        std::vector<std::vector<float>> fmean = ConvertRows<float>(m.mean), fvar = ConvertRows<float>(m.var),
                                        fsamples = ConvertRows<float>(samples);
        std::vector<float*> fm = RowPointers(fmean), fv = RowPointers(fvar), fx = RowPointers(fsamples);
        std::vector<float> fcoef(m.coef.begin(), m.coef.end());
        f.set(fm, fv, fcoef);
        f.accumulate_statistics(fx, true, true, true);
        EXPECT_LT(RelativeMaxError(f.s0, ref.s0, K), 1e-5);
        EXPECT_LT(RelativeMaxError(Flatten(f.s1, K, D), ref.s1, K * D), 1e-5);
        EXPECT_LT(RelativeMaxError(Flatten(f.s2, K, D), ref.s2, K * D), 1e-5);
    }
}

// Two overlapping Gaussians far from a third: their log-densities are large numbers
// whose difference decides the posteriors, which must still come out to full precision.
TEST(GaussianMixture, PosteriorsOfOverlappingGaussiansFarFromTheRest)
{
    MixtureData m;
    m.coef = {0.4, 0.4, 0.2};
    m.mean = {std::vector<double>(8, 1000.0), std::vector<double>(8, 1000.5), std::vector<double>(8, -1000.0)};
    m.var = {std::vector<double>(8, 1.0), std::vector<double>(8, 1.0), std::vector<double>(8, 1.0)};
    gaussian_mixture<double> g(3, 8);
    SetModel(g, m);
    std::vector<std::vector<double>> samples = DrawSamples(m, 300, 8);
    std::vector<double*> rows = RowPointers(samples);
    ReferenceStats ref = ReferenceStatistics(m, samples, g.param.min_gamma);
    g.accumulate_statistics(rows, true, true, true);
    EXPECT_LT(RelativeMaxError(g.s0, ref.s0, 3), 1e-12);
    EXPECT_LT(RelativeMaxError(Flatten(g.s1, 3, 8), ref.s1, 24), 1e-12);
}

TEST(GaussianMixture, EmRecoversTwoSeparatedGaussians)
{
    MixtureData truth;
    truth.coef = {0.3, 0.7};
    truth.mean = {{-5, 2, 0}, {6, -1, 3}};
    truth.var = {{1, 0.25, 2}, {0.5, 1, 1.5}};
    std::vector<std::vector<double>> samples = DrawSamples(truth, 4000, 5);
    std::vector<double*> rows = RowPointers(samples);

    em_param p;
    p.alpha = 0;
    gaussian_mixture<double> g(p, 2, 3);
    // A starting model from the first sample and the first one far from it.
    size_t other = 1;
    while (std::fabs(samples[other][0] - samples[0][0]) < 6)
        other++;
    std::vector<double*> start_mean = {samples[0].data(), samples[other].data()};
    std::vector<double> ones(3, 1.0);
    std::vector<double*> start_var = {ones.data(), ones.data()};
    std::vector<double> start_coef = {1, 1};
    g.set(start_mean, start_var, start_coef);

    testing::internal::CaptureStdout();
    g.em(rows);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("  Number of Gaussians: 2\n  Number of samples: 4000\n  Sample dimensions: 3\n\n"),
              std::string::npos);
    EXPECT_NE(out.find("  iter 0, avg. llh = "), std::string::npos);
    EXPECT_NE(out.find("  iter 1, avg. llh = "), std::string::npos);
    EXPECT_NE(out.find(" (+"), std::string::npos);

    const int a = g.get_mean()[0][0] < 0 ? 0 : 1;
    for (int j = 0; j < 2; j++)
    {
        const int gj = j == 0 ? a : 1 - a;
        EXPECT_NEAR(g.get_coef()[gj], truth.coef[j], 0.03);
        for (int k = 0; k < 3; k++)
        {
            EXPECT_NEAR(g.get_mean()[gj][k], truth.mean[j][k], 0.1) << j << "," << k;
            EXPECT_NEAR(g.get_var()[gj][k], truth.var[j][k], 0.15 * truth.var[j][k]) << j << "," << k;
        }
    }
}

TEST(GaussianMixture, OneIterationUpdatesOnceAndTheVarianceFloorWins)
{
    // Two tight clusters far apart: the data-driven floor (0.01 of the sample variance,
    // about 25) lies far above the trained variances.
    std::vector<std::vector<double>> samples;
    for (int i = 0; i < 100; i++)
        samples.push_back({(i % 2 ? 100.0 : 0.0) + 0.001 * (i % 7)});
    std::vector<double*> rows = RowPointers(samples);
    em_param p;
    p.max_iter = 1;
    gaussian_mixture<double> g(p, 2, 1);
    MixtureData start{{1, 1}, {{0}, {100}}, {{1}, {1}}};
    SetModel(g, start);

    testing::internal::CaptureStdout();
    g.em(rows);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("  iter 0, avg. llh = "), std::string::npos);
    EXPECT_EQ(out.find("  iter 1"), std::string::npos);

    double sample_var = 0, mean = 0;
    for (double* x : rows)
        mean += *x / 100;
    for (double* x : rows)
        sample_var += (*x - mean) * (*x - mean) / 99;
    const double floor = sample_var * static_cast<double>(0.01f);
    EXPECT_NEAR(g.get_var()[0][0], floor, 1e-9 * floor);
    EXPECT_NEAR(g.get_var()[1][0], floor, 1e-9 * floor);
    EXPECT_NEAR(g.get_mean()[0][0], 0.003, 1e-3);
    EXPECT_NEAR(g.get_mean()[1][0], 100.003, 1e-3);
    // Weights (50 + alpha) / (100 + 2 alpha).
    EXPECT_NEAR(g.get_coef()[0], 0.5, 1e-12);

    // Variances given below the absolute floor are raised to it.
    gaussian_mixture<double> h(1, 2);
    MixtureData tiny{{1}, {{0, 0}}, {{0, 1e-12}}};
    SetModel(h, tiny);
    EXPECT_EQ(h.get_var()[0][0], static_cast<double>(1e-9f));
    EXPECT_EQ(h.get_var()[0][1], static_cast<double>(1e-9f));
}

TEST(GaussianMixture, SaveLoadRoundTripForBothWidths)
{
    TestSupport::TempDir dir;
    MixtureData m = RandomMixture(3, 5, 2.0, 6);
    gaussian_mixture<double> g(3, 5);
    SetModel(g, m);
    const std::string path = dir.File("model.gmm");
    ASSERT_EQ(g.save(path.c_str()), 0);
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    EXPECT_EQ(static_cast<long>(in.tellg()), 8 + 3 * (1 + 2 * 5) * 8);

    gaussian_mixture<double> back(path.c_str());
    ASSERT_EQ(back.n_gauss(), 3);
    ASSERT_EQ(back.n_dim(), 5);
    for (int j = 0; j < 3; j++)
        EXPECT_EQ(back.get_coef()[j], g.get_coef()[j]);
    EXPECT_EQ(Flatten(back.get_mean(), 3, 5), Flatten(g.get_mean(), 3, 5));
    EXPECT_EQ(Flatten(back.get_var(), 3, 5), Flatten(g.get_var(), 3, 5));
    double x[5] = {0.1, 0.2, -0.3, 1, 2};
    EXPECT_EQ(back.log_p(x), g.log_p(x));

    gaussian_mixture<float> f(2, 2);
    const std::string fpath = dir.File("model-float.gmm");
    ASSERT_EQ(f.save(fpath.c_str()), 0);
    gaussian_mixture<float> fback(1, 1);
    EXPECT_EQ(fback.load(fpath.c_str()), 0);
    EXPECT_EQ(fback.n_gauss(), 2);
    EXPECT_EQ(fback.get_coef()[1], 0.5f);
    EXPECT_EQ(fback.get_var()[1][1], 1.0f);

    EXPECT_EQ(g.save(dir.File("no/such/dir/model").c_str()), -1);
}

TEST(GaussianMixture, BadModelFilesFailWithoutCrashing)
{
    TestSupport::TempDir dir;
    MixtureData m = RandomMixture(3, 4, 2.0, 7);
    gaussian_mixture<double> g(3, 4);
    SetModel(g, m);
    const std::string dpath = dir.File("double.gmm");
    ASSERT_EQ(g.save(dpath.c_str()), 0);
    gaussian_mixture<float> f(2, 3);
    const std::string fpath = dir.File("float.gmm");
    ASSERT_EQ(f.save(fpath.c_str()), 0);
    const std::string bytes = TestSupport::ReadTextFile(dpath);

    auto write = [&](const std::string& name, const std::string& content) {
        const std::string p = dir.File(name);
        TestSupport::WriteTextFile(p, content);
        return p;
    };
    auto header = [](int32_t a, int32_t b) { return std::string(reinterpret_cast<char*>(&a), 4) +
                                                    std::string(reinterpret_cast<char*>(&b), 4); };
    std::mt19937 rng(3);
    std::string garbage(1000, ' ');
    for (char& c : garbage)
        c = static_cast<char>(rng());
    const std::vector<std::string> bad = {
        fpath,                                                  // float model read as double
        write("truncated.gmm", bytes.substr(0, bytes.size() - 3)),
        write("header-only.gmm", bytes.substr(0, 8)),
        write("short.gmm", bytes.substr(0, 5)),
        write("empty.gmm", ""),
        write("garbage.gmm", garbage),
        write("negative.gmm", header(-1, 4) + std::string(40, '\0')),
        write("huge.gmm", header(2000000000, 2000000000) + std::string(64, '\0')),
        write("nodims.gmm", header(2, 0) + std::string(16, '\0')),
        dir.File("missing.gmm"),
    };
    for (const std::string& p : bad)
    {
        gaussian_mixture<double> d(2, 2);
        testing::internal::CaptureStderr();
        EXPECT_EQ(d.load(p.c_str()), -1) << p;
        EXPECT_NE(testing::internal::GetCapturedStderr(), "") << p;
        EXPECT_EQ(d.n_gauss(), 0) << p;
        EXPECT_EQ(d.get_mean(), nullptr) << p;
    }
    // A double model read as float.
    gaussian_mixture<float> wrong(1, 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(wrong.load(dpath.c_str()), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(wrong.n_gauss(), 0);
    // The file constructor leaves an empty mixture.
    testing::internal::CaptureStderr();
    gaussian_mixture<double> from_file(fpath.c_str());
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(from_file.n_gauss(), 0);
}

TEST(GaussianMixture, PrintsParametersAndModel)
{
    gaussian_mixture<double> g(2, 2);
    testing::internal::CaptureStdout();
    g.print(true, true, true);
    g.param.print();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " coef[0] = 0.5\n mean[0] = [ 0 0 ]\n variance[0] = [ 1 1 ]\n"
              " coef[1] = 0.5\n mean[1] = [ 0 0 ]\n variance[1] = [ 1 1 ]\n"
              "  max_iter = 100\n  alpha = 100\n  llh_diff_thr = 0.001\n  min_gamma = 0.0001\n"
              "  variance_floor = 1e-09\n  variance_floor_factor = 0.01\n");
    EXPECT_DEATH(g.print(false, false, false), "print_coef \\|\\| print_mean \\|\\| print_var");
}

TEST(GaussianMixture, ModelFilesWithoutPositiveWeightsOrVariancesAreRefused)
{
    TestSupport::TempDir dir;
    auto load = [&](const std::string& bytes, bool asDouble, std::string& messages) {
        const std::string p = dir.File("model.gmm");
        TestSupport::WriteTextFile(p, bytes);
        testing::internal::CaptureStderr();
        int status;
        int ngauss;
        if (asDouble)
        {
            gaussian_mixture<double> d(2, 2);
            status = d.load(p.c_str());
            ngauss = d.n_gauss();
        }
        else
        {
            gaussian_mixture<float> f(2, 2);
            status = f.load(p.c_str());
            ngauss = f.n_gauss();
        }
        messages = testing::internal::GetCapturedStderr();
        return status == 0 ? ngauss : -1;
    };
    auto model = [](int32_t ngauss, int32_t ndim, const std::vector<double>& values) {
        std::string bytes(reinterpret_cast<char*>(&ngauss), 4);
        bytes.append(reinterpret_cast<char*>(&ndim), 4);
        bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double));
        return bytes;
    };
    std::string messages;
    // coef, means, variances per Gaussian.
    EXPECT_EQ(load(model(2, 1, {0.5, 0, 1, 0.5, 1, 2}), true, messages), 2);
    EXPECT_EQ(messages, "");
    const std::vector<std::vector<double>> bad = {{0.5, 0, 0, 0.5, 1, 2},   {0.5, 0, 1, 0.5, 1, -2},
                                                  {0.0, 0, 1, 1.0, 1, 2},   {-0.5, 0, 1, 1.5, 1, 2},
                                                  {0.5, 0, NAN, 0.5, 1, 2}, {0.5, INFINITY, 1, 0.5, 1, 2},
                                                  {0.5, 0, 1, INFINITY, 1, 2}};
    for (const std::vector<double>& values : bad)
    {
        EXPECT_EQ(load(model(2, 1, values), true, messages), -1) << values[0] << " " << values[2];
        EXPECT_NE(messages.find("weights and variances must be positive numbers"), std::string::npos) << messages;
    }

    // Found by fuzzing, the first byte choosing the element width (odd: double): a float
    // model whose first Gaussian has variance 0, and a double model of no Gaussians in
    // 84475904 dimensions, which took seconds and hundreds of megabytes to set up.
    const std::string zeroVariance = TestSupport::FuzzFinding("GaussianMixture", "zero-variance");
    ASSERT_GT(zeroVariance.size(), 9u);
    EXPECT_EQ(zeroVariance[0] % 2, 0);
    EXPECT_EQ(load(zeroVariance.substr(1), false, messages), -1);
    EXPECT_NE(messages.find("weights and variances must be positive numbers"), std::string::npos) << messages;
    const std::string noGaussians = TestSupport::FuzzFinding("GaussianMixture", "dimensions-without-gaussians");
    ASSERT_EQ(noGaussians.size(), 9u);
    EXPECT_EQ(noGaussians[0] % 2, 1);
    EXPECT_EQ(load(noGaussians.substr(1), true, messages), -1);
    EXPECT_NE(messages.find("dimensions without Gaussians"), std::string::npos) << messages;
    // The empty model is still one.
    EXPECT_EQ(load(model(0, 0, {}), true, messages), 0);
    EXPECT_EQ(messages, "");
}
