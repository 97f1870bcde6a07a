#include "core/feature/InterestPointFeature.h"

#include "basis/CmdOptions.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

void InterestPointFeature::AddCmdOptions()
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.AddOption(0, "borderWidth", "size", "0");
    options.AddOption(0, "recGauss", "", "0");
    options.AddOption(0, "loadRegions", "filename", "");
    options.AddOption(0, "saveRegions", "filename", "");
    options.AddOption(0, "descriptor", "mode", "");
    options.AddOption(0, "output", "filename", "");
    options.AddOption(0, "outputFormat", "mode", "");
    options.AddOption(0, "descriptorBinCount", "bins", "15");
    options.AddOption(0, "descriptorPreSmoothing", "", "0");
    options.AddOption(0, "descriptorOpponentWeight", "weight", "");
    options.AddOption(0, "clusterInput", "", "0");
    options.AddOption(0, "keepLimited", "count", "-1");
    options.AddOption(0, "noRandomizeSeed", "", "0");
    options.AddOption(0, "codebook", "filename", "");
    options.AddOption(0, "codebookMode", "name", "hard");
    options.AddOption(0, "codebookSigma", "sigma", "");
    options.AddOption(0, "codebookName", "name", "");
    options.AddOption(0, "pointSelector", "config", "");
    options.AddOption(0, "extraBoxes", "filename", "");
    options.AddOption(0, "detector", "mode", "harrislaplace");
    options.AddOption(0, "harrisThreshold", "threshold", "1e-9");
    options.AddOption(0, "harrisK", "k", "0.06");
    options.AddOption(0, "laplaceThreshold", "threshold", "0.03");
    options.AddOption(0, "ds_spacing", "pixels", "6");
    options.AddOption(0, "ds_scales", "scale1+scale2+...", "");
    options.AddOption(0, "featurePrefix", "prefix", "");
    options.AddOption(0, "surf-haar-size", "int", "3");
    options.AddOption(0, "surf-subregion-size", "int", "2");
    options.AddOption(0, "surf-spaciality", "int", "4");
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
