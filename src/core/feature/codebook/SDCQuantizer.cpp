#include "core/feature/codebook/SDCQuantizer.h"

#include <memory>

#include "basis/Report.h"
#include "basis/Timer.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/CodebookMatrices.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.SDCQuantizer");
}

SDCQuantizer::SDCQuantizer(std::string pyramid, int border, std::string mode)
    : SpatialQuantizer(pyramid, border), mMode(std::move(mode))
{
}

SDCQuantizer::~SDCQuantizer()
{
    delete mCodebook;
    DeleteMatList(mDiffStat);
}

void SDCQuantizer::SetCodebook(Persistency::CodebookLocator& locator)
{
    Array::Array2dReal64* codebook = GetCodebookWords(locator, sLog);
    // The statistics are optional for the "sig" modes.
    AdoptCodebook(codebook, codebook ? GetCodebookMatrices(locator, "diffstat") : nullptr);
    if (codebook && !IsReady())
        TLOG_ERROR(sLog, "[ERROR] Codebook mode " << mMode << " can not be used with this codebook");
}

void SDCQuantizer::AdoptCodebook(Array::Array2dReal64* codebook, Matrix::MatList* diffStat)
{
    delete mCodebook;
    DeleteMatList(mDiffStat);
    mCodebook = codebook;
    mDiffStat = diffStat;
}

bool SDCQuantizer::IsReady() const
{
    SignatureMode mode;
    return mCodebook && ParseSignatureMode(mMode, mode) && CheckDiffStat(mode, mDiffStat, mCodebook, sLog) &&
           CheckResultSize(mode.RowLength(mCodebook->mHeight, mCodebook->mWidth),
                           static_cast<long long>(mSelectors.size()), sLog);
}

Vector::VectorSet<Array::Array2dReal64>* SDCQuantizer::Quantize(PointDescriptorTable* table, int width, int height)
{
    SignatureMode mode;
    if (!ParseSignatureMode(mMode, mode))
    {
        TLOG_ERROR(sLog, "[ERROR] Unknown codebook mode " << mMode);
        return nullptr;
    }
    std::unique_ptr<Array::Array2dReal64> descriptors;
    std::vector<int> xs, ys;
    SoftAssignmentInput input;
    if (!PrepareInput(table, mCodebook, width, height, descriptors, xs, ys, input, sLog) ||
        !CheckDiffStat(mode, mDiffStat, mCodebook, sLog))
        return nullptr;
    const long long length = mode.RowLength(mCodebook->mHeight, mCodebook->mWidth);
    std::vector<double*> rows;
    std::unique_ptr<Vector::VectorSet<Array::Array2dReal64>> result(MakeZeroRows(length, rows));
    if (!result)
        return nullptr;
    Timer timer(1);
    if (!AccumulateSignature(input, mode, mDiffStat, rows.data(), sLog))
        return nullptr;
    for (double* row : rows)
        NormalizeSignature(mode, row, length);
    if (mMode == "sig0")
        TLOG_DEBUG(sLog, "Codebook projection (Sig/end-of-function)");
    else
        TLOG_DEBUG(sLog, "Codebook projection (Sig/end-of-function): " << timer.SplitTimeStr());
    return result.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
