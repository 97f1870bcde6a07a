// The n nearest code words of each point, without histogram or cells: one row per point
// holding its x and y as stored, then the indices of its n nearest words, nearest first
// (the lower index first at equal distance). A codebook of fewer than n words is refused.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_CLOSESTWORDSQUANTIZER_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_CLOSESTWORDSQUANTIZER_H

#include "core/feature/codebook/SpatialQuantizer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class ClosestWordsQuantizer : public SpatialQuantizer
{
public:
    // The selector list (empty pyramid, border 0) is present but never used.
    explicit ClosestWordsQuantizer(int wordCount);
    ~ClosestWordsQuantizer() override;

    // Rows of mWordCount + 2 values, one per point in table order; width and height
    // are not used.
    Vector::VectorSet<Array::Array2dReal64>* Quantize(PointDescriptorTable* table, int width, int height) override;
    void SetCodebook(Persistency::CodebookLocator& locator) override;
    bool IsReady() const override { return mCodebook != nullptr; }

    // Takes `codebook` over, in place of one from a repository; a codebook of fewer
    // than mWordCount words is reported and dropped. False then.
    bool AdoptCodebook(Array::Array2dReal64* codebook);

    Array::Array2dReal64* mCodebook = nullptr;
    int mWordCount = 1;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
