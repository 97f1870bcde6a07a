// Gaussian mixtures and samples for the tests of the mixture and Fisher code: random
// models, samples drawn from them, and posteriors evaluated directly in long double.
#ifndef LUMISK_TESTS_SUPPORT_MIXTURES_H
#define LUMISK_TESTS_SUPPORT_MIXTURES_H

#include <string>
#include <vector>

namespace TestSupport
{

// A mixture as plain rows: coef[j], mean[j][k], var[j][k].
struct MixtureData
{
    std::vector<double> coef;
    std::vector<std::vector<double>> mean;
    std::vector<std::vector<double>> var;

    int Gaussians() const { return static_cast<int>(coef.size()); }
    int Dims() const { return mean.empty() ? 0 : static_cast<int>(mean[0].size()); }
    std::vector<double*> MeanRows();
    std::vector<double*> VarRows();
};

// Means uniform in [-spread, spread], standard deviations in [0.5, 1.5], weights in
// [0.5, 1.5] normalised.
MixtureData RandomMixture(int ngauss, int ndim, double spread, unsigned seed);

// n samples drawn from the mixture, one row each.
std::vector<std::vector<double>> DrawSamples(const MixtureData& mixture, int n, unsigned seed);

template <class T>
std::vector<T*> RowPointers(std::vector<std::vector<T>>& rows)
{
    std::vector<T*> p;
    for (std::vector<T>& r : rows)
        p.push_back(r.data());
    return p;
}

// The same rows converted element by element (e.g. to float for the single-precision code).
template <class T>
std::vector<std::vector<T>> ConvertRows(const std::vector<std::vector<double>>& rows)
{
    std::vector<std::vector<T>> out;
    for (const std::vector<double>& r : rows)
        out.emplace_back(r.begin(), r.end());
    return out;
}

// The mixture as the three raw files of a codebook store, written with the project's
// raw writer: <dir>/<name>.gmm-mean.raw, .gmm-var.raw (K x D) and .gmm-weights.raw
// (K x 1). Kinds named in `skip` are left out.
void WriteMixtureCodebook(const std::string& dir, const std::string& name, const MixtureData& mixture,
                          const std::vector<std::string>& skip = {});

// log of the mixture density at x, and the posteriors, from the textbook formulas.
long double ReferenceLogDensity(const MixtureData& mixture, const double* x, std::vector<long double>* posterior);

// Largest absolute difference divided by the largest absolute reference value.
template <class A, class B>
double RelativeMaxError(const A& value, const B& reference, int n)
{
    long double diff = 0, scale = 0;
    for (int i = 0; i < n; i++)
    {
        const long double d = static_cast<long double>(value[i]) - static_cast<long double>(reference[i]);
        diff = d < 0 ? (-d > diff ? -d : diff) : (d > diff ? d : diff);
        const long double r = reference[i] < 0 ? -static_cast<long double>(reference[i]) : reference[i];
        scale = r > scale ? r : scale;
    }
    return scale > 0 ? static_cast<double>(diff / scale) : static_cast<double>(diff);
}

} // namespace TestSupport

#endif
