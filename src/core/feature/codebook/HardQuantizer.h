// Bag of words per spatial cell: each descriptor counts once for its nearest code word,
// and a cell's row is the histogram of the points it accepts divided by their number,
// so that it sums to 1 (or stays zero for an empty cell).
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_HARDQUANTIZER_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_HARDQUANTIZER_H

#include "core/feature/codebook/SpatialQuantizer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class HardQuantizer : public SpatialQuantizer
{
public:
    HardQuantizer(std::string pyramid, int border);
    ~HardQuantizer() override;

    Vector::VectorSet<Array::Array2dReal64>* Quantize(PointDescriptorTable* table, int width, int height) override;
    void SetCodebook(Persistency::CodebookLocator& locator) override;
    bool IsReady() const override { return mCodebook != nullptr; }

    // Takes `codebook` over, in place of one from a repository.
    void AdoptCodebook(Array::Array2dReal64* codebook);

    Array::Array2dReal64* mCodebook = nullptr;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
