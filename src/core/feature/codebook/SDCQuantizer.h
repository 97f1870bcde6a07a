// Residual statistics of the four nearest code words of each descriptor, weighted 1,
// 0.5, 0.25 and 0.125: their sums ("sig" modes), normalised first and second moments
// ("sdc" modes, from the deviations of the "diffstat" list) or a histogram of n bins
// per dimension ("mdc<n>", between the lower and upper ends of that list). Rows are
// normalised by mode, not divided by the number of points.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_SDCQUANTIZER_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_SDCQUANTIZER_H

#include "core/feature/codebook/SpatialQuantizer.h"
#include "core/matrix/MatList.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class SDCQuantizer : public SpatialQuantizer
{
public:
    SDCQuantizer(std::string pyramid, int border, std::string mode);
    ~SDCQuantizer() override;

    Vector::VectorSet<Array::Array2dReal64>* Quantize(PointDescriptorTable* table, int width, int height) override;
    // Also loads the "diffstat" list; its absence is an error for the sdc and mdc modes.
    void SetCodebook(Persistency::CodebookLocator& locator) override;
    bool IsReady() const override;

    // Take the matrices over, in place of those from a repository.
    void AdoptCodebook(Array::Array2dReal64* codebook, Matrix::MatList* diffStat);

    std::string mMode;
    Array::Array2dReal64* mCodebook = nullptr;
    Matrix::MatList* mDiffStat = nullptr;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
