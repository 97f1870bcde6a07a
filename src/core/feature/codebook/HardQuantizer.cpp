#include "core/feature/codebook/HardQuantizer.h"

#include <memory>

#include "basis/Report.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/CodebookMatrices.h"
#include "core/matrix/VectorQuantize.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.HardQuantizer");
}

HardQuantizer::HardQuantizer(std::string pyramid, int border) : SpatialQuantizer(pyramid, border) {}

HardQuantizer::~HardQuantizer()
{
    delete mCodebook;
}

void HardQuantizer::SetCodebook(Persistency::CodebookLocator& locator)
{
    AdoptCodebook(GetCodebookWords(locator, sLog));
}

void HardQuantizer::AdoptCodebook(Array::Array2dReal64* codebook)
{
    delete mCodebook;
    mCodebook = codebook;
}

Vector::VectorSet<Array::Array2dReal64>* HardQuantizer::Quantize(PointDescriptorTable* table, int width, int height)
{
    std::unique_ptr<Array::Array2dReal64> descriptors;
    std::vector<int> xs, ys;
    SoftAssignmentInput input;
    if (!PrepareInput(table, mCodebook, width, height, descriptors, xs, ys, input, sLog))
        return nullptr;
    if (mCodebook->mHeight < 1)
    {
        TLOG_ERROR(sLog, "[ERROR] Quantize called with a codebook without words");
        return nullptr;
    }
    std::unique_ptr<Array::Array2dReal64> assignment;
    const int points = table->Size();
    if (points > 0)
    {
        assignment.reset(Matrix::VectorQuantize(descriptors.get(), mCodebook));
        if (!assignment)
            return nullptr;
    }
    descriptors.reset();

    const long long words = mCodebook->mHeight;
    std::vector<double*> rows;
    std::unique_ptr<Vector::VectorSet<Array::Array2dReal64>> result(MakeZeroRows(words, rows));
    if (!result)
        return nullptr;
    for (size_t r = 0; r < mSelectors.size(); ++r)
    {
        Geometry::InterestPointSelector* selector = mSelectors[r];
        double* histogram = rows[r];
        double hits = 0.0;
        const double* nearest = points > 0 ? assignment->mData : nullptr;
        for (int i = 0; i < points; ++i, nearest += 2)
        {
            if (!selector->Accept(xs[i], ys[i], width, height))
                continue;
            hits += 1.0;
            histogram[static_cast<long long>(nearest[0])] += 1.0;
        }
        if (hits == 0.0)
            hits = 1.0;
        for (long long j = 0; j < words; ++j)
            histogram[j] /= hits;
    }
    return result.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
