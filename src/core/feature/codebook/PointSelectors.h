// Spatial pyramids: the selector lists that the pyramid names stand for, and the list
// of selectors made from such a text. The order of the list is the order of the rows
// of every projection result.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_POINTSELECTORS_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_POINTSELECTORS_H

#include <string>
#include <vector>

#include "core/geometry/InterestPointSelector.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// The selector list of a pyramid name such as "pyramid-1x1-2x2"; any other text is
// returned as it stands, so that a list can be typed directly.
std::string ExpandPyramidName(const std::string& name);

// One selector per "+"-separated piece of the (expanded) text, up to the end or the
// first empty piece. Throws what the selector throws; the selectors made before are
// then released. The caller owns the result.
std::vector<Geometry::InterestPointSelector*> MakePointSelectors(const std::string& pyramid, int border);

// The feature-name parameter of a pyramid text: "+" removed, "#" turned into "x".
std::string PyramidParameter(const std::string& pyramid);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
