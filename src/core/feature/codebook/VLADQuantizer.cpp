#include "core/feature/codebook/VLADQuantizer.h"

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
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.VLADQuantizer");

// The residual sums of the "sig" family; "sig2" is their signed square root at unit
// length, which is the normalisation of this quantizer.
SignatureMode ResidualMode(bool normalize)
{
    SignatureMode mode;
    ParseSignatureMode(normalize ? "sig2" : "sig0", mode);
    return mode;
}
} // namespace

VLADQuantizer::VLADQuantizer(std::string pyramid, int border, bool normalize)
    : SpatialQuantizer(pyramid, border), mNormalize(normalize)
{
}

VLADQuantizer::~VLADQuantizer()
{
    delete mCodebook;
}

void VLADQuantizer::SetCodebook(Persistency::CodebookLocator& locator)
{
    AdoptCodebook(GetCodebookWords(locator, sLog));
}

void VLADQuantizer::AdoptCodebook(Array::Array2dReal64* codebook)
{
    delete mCodebook;
    mCodebook = codebook;
}

bool VLADQuantizer::IsReady() const
{
    return mCodebook && CheckResultSize(mCodebook->mHeight * mCodebook->mWidth,
                                        static_cast<long long>(mSelectors.size()), sLog);
}

Vector::VectorSet<Array::Array2dReal64>* VLADQuantizer::Quantize(PointDescriptorTable* table, int width, int height)
{
    Timer timer(1);
    std::unique_ptr<Array::Array2dReal64> descriptors;
    std::vector<int> xs, ys;
    SoftAssignmentInput input;
    if (!PrepareInput(table, mCodebook, width, height, descriptors, xs, ys, input, sLog))
        return nullptr;
    const long long length = mCodebook->mHeight * mCodebook->mWidth;
    std::vector<double*> rows;
    std::unique_ptr<Vector::VectorSet<Array::Array2dReal64>> result(MakeZeroRows(length, rows));
    if (!result)
        return nullptr;
    const SignatureMode mode = ResidualMode(mNormalize);
    AssignmentLogWords words;
    words.prefix = "Quantization";
    words.loop = "loop";
    if (!AccumulateSignature(input, mode, nullptr, rows.data(), sLog, words))
        return nullptr;
    if (mNormalize)
    {
        for (double* row : rows)
            NormalizeSignature(mode, row, length);
        TLOG_DEBUG(sLog, "Quantization (complete): " << timer.SplitTimeStr());
    }
    return result.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
