#include "core/feature/codebook/UncertaintyQuantizer.h"

#include <memory>

#include "basis/Report.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/CodebookMatrices.h"
#include "core/feature/codebook/SoftAssignment.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.UncertaintyQuantizer");
}

UncertaintyQuantizer::UncertaintyQuantizer(std::string pyramid, int border, double sigma)
    : SpatialQuantizer(pyramid, border), mSigma(sigma)
{
}

UncertaintyQuantizer::~UncertaintyQuantizer()
{
    delete mCodebook;
}

void UncertaintyQuantizer::SetCodebook(Persistency::CodebookLocator& locator)
{
    AdoptCodebook(GetCodebookWords(locator, sLog));
}

void UncertaintyQuantizer::AdoptCodebook(Array::Array2dReal64* codebook)
{
    delete mCodebook;
    mCodebook = codebook;
}

Vector::VectorSet<Array::Array2dReal64>* UncertaintyQuantizer::Quantize(PointDescriptorTable* table, int width,
                                                                         int height)
{
    std::unique_ptr<Array::Array2dReal64> descriptors;
    std::vector<int> xs, ys;
    SoftAssignmentInput input;
    if (!PrepareInput(table, mCodebook, width, height, descriptors, xs, ys, input, sLog))
        return nullptr;
    const long long words = mCodebook->mHeight;
    std::vector<double*> rows;
    std::unique_ptr<Vector::VectorSet<Array::Array2dReal64>> result(MakeZeroRows(words, rows));
    if (!result)
        return nullptr;
    const size_t cells = mSelectors.size();
    std::vector<double> counts(cells, 0.0);
    if (!AccumulateUncertainty(input, mSigma, rows.data(), counts.data(), sLog))
        return nullptr;
    DivideByCounts(rows.data(), counts.data(), cells, words);
    return result.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
