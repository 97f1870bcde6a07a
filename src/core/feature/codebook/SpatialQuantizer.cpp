#include "core/feature/codebook/SpatialQuantizer.h"

#include <memory>

#include "basis/Report.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/PointSelectors.h"
#include "core/feature/codebook/SoftAssignment.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.SpatialQuantizer");
}

SpatialQuantizer::SpatialQuantizer(std::string pyramid, int border)
    : mSelectors(MakePointSelectors(pyramid.empty() ? std::string("P1x1#0") : pyramid, border))
{
}

SpatialQuantizer::~SpatialQuantizer()
{
    for (Geometry::InterestPointSelector* selector : mSelectors)
        delete selector;
}

Vector::VectorSet<Array::Array2dReal64>* SpatialQuantizer::Quantize(PointDescriptorTable*, int, int)
{
    TLOG_ERROR(sLog, "Quantize not instantiated");
    return nullptr;
}

void SpatialQuantizer::SetCodebook(Persistency::CodebookLocator&)
{
    TLOG_ERROR(sLog, "SetCodebook not instantiated");
}

bool SpatialQuantizer::PrepareInput(PointDescriptorTable* table, Array::Array2dReal64* codebook, int width, int height,
                                    std::unique_ptr<Array::Array2dReal64>& wrapper, std::vector<int>& xs,
                                    std::vector<int>& ys, SoftAssignmentInput& input, log4cpp::Category& log) const
{
    if (!codebook)
    {
        TLOG_ERROR(log, "[ERROR] Quantize called without a codebook");
        return false;
    }
    if (table->GetDescriptorLength() != codebook->mWidth)
    {
        TLOG_ERROR(log, "[ERROR] Descriptors of length " << table->GetDescriptorLength() << " and a codebook of width "
                                                          << codebook->mWidth);
        return false;
    }
    wrapper.reset(table->GetWrappedDescriptorMatrix());
    const int n = table->Size();
    xs.resize(n);
    ys.resize(n);
    for (int i = 0; i < n; ++i)
    {
        xs[i] = Geometry::SelectorPosition(table->X()[i]);
        ys[i] = Geometry::SelectorPosition(table->Y()[i]);
    }
    input = SoftAssignmentInput(wrapper.get(), codebook, xs.data(), ys.data(), width, height, &mSelectors);
    return true;
}

Vector::VectorSet<Array::Array2dReal64>* SpatialQuantizer::MakeZeroRows(long long length,
                                                                        std::vector<double*>& rows) const
{
    const int cells = static_cast<int>(mSelectors.size());
    if (!CheckResultSize(length, cells, sLog))
        return nullptr;
    auto* result = new Vector::VectorSet<Array::Array2dReal64>(true, static_cast<int>(length), cells);
    double* data = result->GetStorage()->mData;
    std::fill(data, data + length * cells, 0.0);
    result->SetSize(cells);
    rows.resize(cells);
    for (int r = 0; r < cells; ++r)
        rows[r] = result->GetVectorData(r);
    return result;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
