// The one object that knows the whole configuration of an extraction: its options,
// its name, and the run from image to descriptor file.
#ifndef TAVLIN_CORE_FEATURE_INTERESTPOINTFEATURE_H
#define TAVLIN_CORE_FEATURE_INTERESTPOINTFEATURE_H

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class InterestPointFeature
{
public:
    // Registers the pipeline's options on the CmdOptions singleton.
    static void AddCmdOptions();
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
