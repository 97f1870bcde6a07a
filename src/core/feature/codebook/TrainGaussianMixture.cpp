#include "core/feature/codebook/TrainGaussianMixture.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "basis/Report.h"
#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

bool TrainGaussianMixture(Array2dReal64* data, const GaussianMixtureParam& param, Matrix::MatList& model,
                          log4cpp::Category& log)
{
    const long long rows = data->mHeight;
    const long long width = data->mWidth;
    const int ngauss = param.kmeans.words;
    std::unique_ptr<Array2dReal64> centres(TrainKMeans(data, param.kmeans));
    const std::vector<int> assignment = AssignToWords(data, centres.get());

    // Starting variances: those of each word's descriptors, floored as EM floors them
    // (a share of the overall variance), so that a word of one descriptor starts wide.
    std::vector<double> mean(static_cast<size_t>(width), 0.0), overall(static_cast<size_t>(width), 0.0);
    const double* x = data->mData;
    for (long long i = 0; i < rows; ++i, x += width)
        for (long long k = 0; k < width; ++k)
            mean[k] += x[k];
    for (long long k = 0; k < width; ++k)
        mean[k] /= static_cast<double>(rows);
    std::vector<double> sq(static_cast<size_t>(ngauss * width), 0.0);
    std::vector<long long> counts(static_cast<size_t>(ngauss), 0);
    x = data->mData;
    for (long long i = 0; i < rows; ++i, x += width)
    {
        const double* c = centres->mData + static_cast<long long>(assignment[i]) * width;
        double* s = sq.data() + static_cast<long long>(assignment[i]) * width;
        for (long long k = 0; k < width; ++k)
        {
            const double d = x[k] - c[k];
            s[k] += d * d;
            const double o = x[k] - mean[k];
            overall[k] += o * o;
        }
        ++counts[assignment[i]];
    }
    std::vector<std::vector<double>> vars(static_cast<size_t>(ngauss), std::vector<double>(static_cast<size_t>(width)));
    std::vector<double*> meanRows, varRows;
    std::vector<double> coef(static_cast<size_t>(ngauss));
    for (int j = 0; j < ngauss; ++j)
    {
        for (long long k = 0; k < width; ++k)
        {
            const double floor = std::max(overall[k] / static_cast<double>(rows - 1) *
                                              static_cast<double>(param.em.variance_floor_factor),
                                          static_cast<double>(param.em.variance_floor));
            const double v = counts[j] > 1 ? sq[j * width + k] / static_cast<double>(counts[j]) : 0.0;
            vars[j][k] = std::max(v, floor);
        }
        meanRows.push_back(centres->mData + static_cast<long long>(j) * width);
        varRows.push_back(vars[j].data());
        // A word without descriptors still needs a weight above 0.
        coef[j] = static_cast<double>(std::max(counts[j], 1LL));
    }

    em_param emParam = param.em;
    gaussian_mixture<double> gmm(emParam, ngauss, static_cast<int>(width));
    gmm.set(meanRows, varRows, coef);
    std::vector<double*> samples;
    for (long long i = 0; i < rows; ++i)
        samples.push_back(data->mData + i * width);
    gmm.em(samples);

    std::unique_ptr<Array2dReal64> means(Matrix::MatCreate<Array2dReal64>(ngauss, static_cast<int>(width)));
    std::unique_ptr<Array2dReal64> variances(Matrix::MatCreate<Array2dReal64>(ngauss, static_cast<int>(width)));
    std::unique_ptr<Array2dReal64> weights(Matrix::MatCreate<Array2dReal64>(ngauss, 1));
    bool finite = true;
    for (int j = 0; j < ngauss; ++j)
    {
        std::copy_n(gmm.mean[j], width, means->mData + j * width);
        std::copy_n(gmm.var[j], width, variances->mData + j * width);
        weights->mData[j] = gmm.coef[j];
        finite = finite && std::isfinite(gmm.coef[j]) && gmm.coef[j] > 0.0;
        for (long long k = 0; k < width; ++k)
            finite = finite && std::isfinite(gmm.mean[j][k]) && std::isfinite(gmm.var[j][k]);
    }
    if (!finite)
    {
        TLOG_ERROR(log, "[ERROR] The Gaussian mixture training gave values that are not numbers");
        return false;
    }
    model.push_back(means.release());
    model.push_back(variances.release());
    model.push_back(weights.release());
    return true;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
