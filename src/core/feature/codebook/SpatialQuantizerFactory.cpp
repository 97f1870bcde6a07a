#include "core/feature/codebook/SpatialQuantizerFactory.h"

#include <memory>

#include "basis/Report.h"
#include "core/feature/codebook/ClosestWordsQuantizer.h"
#include "core/feature/codebook/FisherQuantizer.h"
#include "core/feature/codebook/HardQuantizer.h"
#include "core/feature/codebook/SDCQuantizer.h"
#include "core/feature/codebook/SoftAssignment.h"
#include "core/feature/codebook/UncertaintyQuantizer.h"
#include "core/feature/codebook/VLADQuantizer.h"

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
    // Of the names beginning with "sig", "sig2" alone is the VLAD quantizer here.
    if (mode == "fisher")
        quantizer.reset(new FisherQuantizer(pyramid, border));
    else if (mode == "kdhard")
    {
        TLOG_ERROR(sLog, "Option not compiled in: kdhard");
        return nullptr;
    }
    else if (mode == "closestword")
        quantizer.reset(new ClosestWordsQuantizer(1));
    else if (mode == "closestword5")
        quantizer.reset(new ClosestWordsQuantizer(5));
    else if (mode == "unc")
        quantizer.reset(new UncertaintyQuantizer(pyramid, border));
    else if (mode == "hard")
        quantizer.reset(new HardQuantizer(pyramid, border));
    else if (mode == "sig2")
        quantizer.reset(new VLADQuantizer(pyramid, border, true));
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
