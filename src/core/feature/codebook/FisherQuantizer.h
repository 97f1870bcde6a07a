// Fisher vectors per spatial cell: a diagonal Gaussian mixture read as three codebook
// kinds ("gmm-mean", "gmm-var", "gmm-weights"), and for each selector the encoding of
// the descriptors of the points it accepts, 2 x Gaussians x dimension values (means and
// variances parts, signed square roots, unit L2 norm). A cell without points gives a
// zero row.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_FISHERQUANTIZER_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_FISHERQUANTIZER_H

#include "Link/GMM/fisher.h"
#include "Link/GMM/gmm.h"
#include "core/feature/codebook/SpatialQuantizer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class FisherQuantizer : public SpatialQuantizer
{
public:
    FisherQuantizer(std::string pyramid, int border);
    ~FisherQuantizer() override;

    Vector::VectorSet<Array::Array2dReal64>* Quantize(PointDescriptorTable* table, int width, int height) override;
    // Reports a missing or unusable file and leaves the quantizer not ready.
    void SetCodebook(Persistency::CodebookLocator& locator) override;
    bool IsReady() const override { return mFisher != nullptr; }

    gaussian_mixture<double>* mGmm = nullptr;
    fisher<double>* mFisher = nullptr;
    // Kept alive beside the mixture, whose rows were set from them.
    Array::Array2dReal64* mMeans = nullptr;
    Array::Array2dReal64* mVariances = nullptr;

private:
    void Clear();
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
