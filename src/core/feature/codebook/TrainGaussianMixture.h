// Training of the Gaussian mixture that the Fisher mode reads: k-means gives the
// starting model (each word a mean, its descriptors' variances and share), then EM of
// the mixture refines it. The result is the three matrices stored beside a codebook:
// means and variances (Gaussians x D) and weights (Gaussians x 1).
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_TRAINGAUSSIANMIXTURE_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_TRAINGAUSSIANMIXTURE_H

#include <log4cpp/Category.hh>

#include "Link/GMM/gmm.h"
#include "core/array/Array2dTem.h"
#include "core/feature/codebook/TrainKMeans.h"
#include "core/matrix/MatList.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

struct GaussianMixtureParam
{
    KMeansParam kmeans;
    em_param em;
};

// Appends means, variances and weights to `model` (the caller owns them). The caller
// guarantees at least two rows and 1 <= Gaussians <= rows. False, after an error on
// `log`, when EM leaves a model that is not a number.
bool TrainGaussianMixture(Array::Array2dReal64* data, const GaussianMixtureParam& param, Matrix::MatList& model,
                          log4cpp::Category& log);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
