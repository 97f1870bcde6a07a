#include "support/Mixtures.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

#include "core/array/WriteRaw.h"
#include "support/Matrices.h"
#include "util/IOBufferFile.h"

namespace TestSupport
{

std::vector<double*> MixtureData::MeanRows()
{
    return RowPointers(mean);
}

std::vector<double*> MixtureData::VarRows()
{
    return RowPointers(var);
}

MixtureData RandomMixture(int ngauss, int ndim, double spread, unsigned seed)
{
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> where(-spread, spread);
    std::uniform_real_distribution<double> unit(0.5, 1.5);
    MixtureData m;
    double sum = 0;
    for (int j = 0; j < ngauss; j++)
    {
        m.coef.push_back(unit(rng));
        sum += m.coef.back();
        std::vector<double> mean(ndim), var(ndim);
        for (int k = 0; k < ndim; k++)
        {
            mean[k] = where(rng);
            const double sd = unit(rng);
            var[k] = sd * sd;
        }
        m.mean.push_back(mean);
        m.var.push_back(var);
    }
    for (double& c : m.coef)
        c /= sum;
    return m;
}

std::vector<std::vector<double>> DrawSamples(const MixtureData& mixture, int n, unsigned seed)
{
    std::mt19937_64 rng(seed);
    std::discrete_distribution<int> pick(mixture.coef.begin(), mixture.coef.end());
    std::normal_distribution<double> normal(0.0, 1.0);
    std::vector<std::vector<double>> samples;
    for (int i = 0; i < n; i++)
    {
        const int j = pick(rng);
        std::vector<double> x(mixture.Dims());
        for (size_t k = 0; k < x.size(); k++)
            x[k] = mixture.mean[j][k] + std::sqrt(mixture.var[j][k]) * normal(rng);
        samples.push_back(x);
    }
    return samples;
}

namespace
{
MatrixPtr RowsMatrix(const std::vector<std::vector<double>>& rows)
{
    std::vector<double> values;
    for (const std::vector<double>& r : rows)
        values.insert(values.end(), r.begin(), r.end());
    return MatrixOf(static_cast<int>(rows.size()), rows.empty() ? 0 : static_cast<int>(rows[0].size()), values);
}
} // namespace

void WriteMixtureCodebook(const std::string& dir, const std::string& name, const MixtureData& mixture,
                          const std::vector<std::string>& skip)
{
    const std::pair<std::string, MatrixPtr> parts[3] = {
        {"gmm-mean", RowsMatrix(mixture.mean)},
        {"gmm-var", RowsMatrix(mixture.var)},
        {"gmm-weights", MatrixOf(mixture.Gaussians(), 1, mixture.coef)}};
    for (const auto& part : parts)
    {
        if (std::find(skip.begin(), skip.end(), part.first) != skip.end())
            continue;
        std::unique_ptr<Tavlin::Util::IOBuffer> out(
            new Tavlin::Util::IOBufferFile(dir + "/" + name + "." + part.first + ".raw", false, false, false));
        Tavlin::Core::Array::WriteRaw(part.second.get(), out.get(), 1);
    }
}

long double ReferenceLogDensity(const MixtureData& mixture, const double* x, std::vector<long double>* posterior)
{
    const long double pi = 3.141592653589793238462643383279502884L;
    const int K = mixture.Gaussians();
    std::vector<long double> logs(K);
    long double best = -INFINITY;
    for (int j = 0; j < K; j++)
    {
        long double l = std::log(static_cast<long double>(mixture.coef[j]));
        for (int k = 0; k < mixture.Dims(); k++)
        {
            const long double v = mixture.var[j][k];
            const long double d = x[k] - static_cast<long double>(mixture.mean[j][k]);
            l -= 0.5L * (std::log(2 * pi * v) + d * d / v);
        }
        logs[j] = l;
        best = l > best ? l : best;
    }
    long double sum = 0;
    for (int j = 0; j < K; j++)
        sum += std::exp(logs[j] - best);
    const long double total = best + std::log(sum);
    if (posterior)
    {
        posterior->resize(K);
        for (int j = 0; j < K; j++)
            (*posterior)[j] = std::exp(logs[j] - total);
    }
    return total;
}

} // namespace TestSupport
