// Vectors of locally aggregated descriptors per spatial cell: the residuals of each
// descriptor to its four nearest code words, weighted 1, 0.5, 0.25 and 0.125, summed
// into a row of words x dimension values (element word * D + dimension). With
// mNormalize every element becomes its signed square root and the row is scaled to unit
// length; there is no division by the number of points.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_VLADQUANTIZER_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_VLADQUANTIZER_H

#include "core/feature/codebook/SpatialQuantizer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class VLADQuantizer : public SpatialQuantizer
{
public:
    VLADQuantizer(std::string pyramid, int border, bool normalize);
    ~VLADQuantizer() override;

    Vector::VectorSet<Array::Array2dReal64>* Quantize(PointDescriptorTable* table, int width, int height) override;
    void SetCodebook(Persistency::CodebookLocator& locator) override;
    bool IsReady() const override;

    // Takes `codebook` over, in place of one from a repository.
    void AdoptCodebook(Array::Array2dReal64* codebook);

    bool mNormalize = true;
    Array::Array2dReal64* mCodebook = nullptr;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
