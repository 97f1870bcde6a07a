// Soft assignment over all code words: each descriptor spreads a weight of 1 over the
// words by a Gaussian kernel on its distances, and a cell's row is the mean over the
// points it accepts.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_UNCERTAINTYQUANTIZER_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_UNCERTAINTYQUANTIZER_H

#include "core/feature/codebook/SpatialQuantizer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class UncertaintyQuantizer : public SpatialQuantizer
{
public:
    UncertaintyQuantizer(std::string pyramid, int border, double sigma = 0.0);
    ~UncertaintyQuantizer() override;

    Vector::VectorSet<Array::Array2dReal64>* Quantize(PointDescriptorTable* table, int width, int height) override;
    void SetCodebook(Persistency::CodebookLocator& locator) override;
    bool IsReady() const override { return mCodebook != nullptr; }

    // Takes `codebook` over, in place of one from a repository.
    void AdoptCodebook(Array::Array2dReal64* codebook);

    Array::Array2dReal64* mCodebook = nullptr;
    // The kernel's standard deviation in descriptor units.
    double mSigma = 0.0;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
