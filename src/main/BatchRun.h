// The loop over the input images of a run: each image read, run through the feature
// and its files written. On one thread the images go one after another; with several
// workers they are worked on at once and finished in input order, so that the files,
// their bytes, the exit status and what exists after a failure are those of the serial
// run. A batch may show its progress on standard error.
#ifndef TAVLIN_SANDBOX_VESK_BATCHRUN_H
#define TAVLIN_SANDBOX_VESK_BATCHRUN_H

#include <string>
#include <vector>

#include "basis/Timer.h"
#include "core/feature/InterestPointFeature.h"
#include "persistency/File.h"
#include "persistency/Locator.h"

namespace Tavlin
{
namespace Sandbox
{
namespace Vesk
{

// Inputs, outputs, regions, batch files and codebooks all resolve here: in the
// current directory, or on the data server that --dataServer names.
Persistency::Locator DriverLocator();
Persistency::File GetDriverFile(const std::string& name, bool write);

struct BatchSettings
{
    // In a batch the file options name directories.
    bool batch = false;
    std::string loadRegions;
    std::string saveRegions;
    std::string output;
    std::string drawRegions;
    // Workers; 1 runs everything on the calling thread.
    int threads = 1;
    bool showProgress = false;
};

// 0 when every image went through; 1 after the message of the first that failed. What
// the feature throws leaves by exception, after the files of the images before.
int RunImages(Core::Feature::InterestPointFeature& feature, const std::vector<std::string>& inputs,
              const BatchSettings& settings, Timer& totalTimer);

} // namespace Vesk
} // namespace Sandbox
} // namespace Tavlin

#endif
