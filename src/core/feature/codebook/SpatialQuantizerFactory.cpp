#include "core/feature/codebook/SpatialQuantizerFactory.h"

#include <memory>

#include "basis/Report.h"
#include "core/feature/codebook/FisherQuantizer.h"
#include "core/feature/codebook/SDCQuantizer.h"
#include "core/feature/codebook/SoftAssignment.h"
#include "core/feature/codebook/UncertaintyQuantizer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.SpatialQuantizerFactory");
}

SpatialQuantizer* SpatialQuantizerFactory(std::string mode, std::string pyramid, int border,
                                          Persistency::CodebookLocator& locator)
{
    std::unique_ptr<SpatialQuantizer> quantizer;
    if (mode == "kdhard")
    {
        TLOG_ERROR(sLog, "Option not compiled in: kdhard");
        return nullptr;
    }
    // Modes whose quantizers this build does not hold yet. Of the "sig" names, "sig2"
    // alone is the VLAD quantizer here.
    if (mode == "closestword" || mode == "closestword5" || mode == "hard" || mode == "sig2")
    {
        TLOG_ERROR(sLog, "[ERROR] Codebook mode " << mode << " is not available in this build");
        return nullptr;
    }
    if (mode == "fisher")
        quantizer.reset(new FisherQuantizer(pyramid, border));
    else if (mode == "unc")
        quantizer.reset(new UncertaintyQuantizer(pyramid, border));
    else if (IsSignatureMode(mode))
        quantizer.reset(new SDCQuantizer(pyramid, border, mode));
    else
        return nullptr;
    quantizer->SetCodebook(locator);
    if (!quantizer->IsReady())
        return nullptr;
    return quantizer.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
