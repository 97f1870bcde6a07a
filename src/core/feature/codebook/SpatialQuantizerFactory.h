// The quantizer that a codebook mode names, built with its pyramid and its codebook.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_SPATIALQUANTIZERFACTORY_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_SPATIALQUANTIZERFACTORY_H

#include <string>

#include "core/feature/codebook/SpatialQuantizer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// The quantizer of `mode` with its codebook set from the locator, owned by the caller.
// Null for a mode without a quantizer ("kdhard" with a message, unknown names without)
// and after a reported failure to load what the quantizer needs.
SpatialQuantizer* SpatialQuantizerFactory(std::string mode, std::string pyramid, int border,
                                          Persistency::CodebookLocator& locator);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
