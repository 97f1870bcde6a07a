#include "core/feature/InterestPointFeature.h"

#include <ctime>
#include <sstream>

#include "basis/CmdOptions.h"
#include "basis/String.h"
#include "util/StringParser.h"

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

InterestPointFeature::InterestPointFeature(Util::PropertySet& properties) : mProperties(&properties)
{
    mVerbose = properties.GetInt("verb", 0);
    mRecGauss = properties.GetBool("recGauss");
    mBorderWidth = properties.GetInt("borderWidth", 0);
    mOutputFormat = properties.GetString("outputFormat", "");
    mClusterInput = properties.GetBool("clusterInput");
    mKeepLimited = properties.GetInt("keepLimited", 0);

    // Without the flag every run draws a different subset for --keepLimited.
    if (!properties.GetBool("noRandomizeSeed"))
        mRandom.SetSeed(static_cast<int64_t>(std::time(nullptr)));

    mTimeStats.AddGroup("detector");
    mTimeStats.AddGroup("descriptor");
    mTimeStats.AddGroup("projection");

    const std::string detector = properties.GetString("detector", "");
    const std::string descriptor = properties.GetString("descriptor", "");
    mName = detector + "-" + descriptor;

    FeatureDefinition prefixed(properties.GetString("featurePrefix", "") + mName);
    mFeatureDefinition.name = prefixed.name;
    mFeatureDefinition.parameters = prefixed.parameters;

    if (StringEndsWith(descriptor, "surf"))
    {
        mSurfHaarSize = properties.GetInt("surf-haar-size", 0);
        mSurfSubregionSize = properties.GetInt("surf-subregion-size", 0);
        mSurfSpaciality = properties.GetInt("surf-spaciality", 0);
        mFeatureDefinition.AddParameter<std::string>(
            "sc", std::to_string(mSurfHaarSize) + "-" + std::to_string(mSurfSubregionSize) + "-" +
                      std::to_string(mSurfSpaciality));
    }

    const std::string harrisThreshold = properties.GetString("harrisThreshold", "");
    if ((detector == "harrislaplace" || detector == "harrislaplace2") && harrisThreshold != "1e-9")
        mFeatureDefinition.AddParameter<std::string>("ht", harrisThreshold);

    const std::string scales = properties.GetString("ds_scales", "");
    if (StringEndsWith(descriptor, "dift") || StringEndsWith(descriptor, "dixt"))
    {
        std::string dashed = scales;
        for (char& c : dashed)
            if (c == '+')
                c = '-';
        mFeatureDefinition.AddParameter<std::string>("ds", dashed);
    }

    if (detector == "dense" || detector == "densesampling" || detector == "denseall")
    {
        const int spacing = properties.GetInt("ds_spacing", 0);
        Util::StringParser parser(scales);
        while (!parser.IsEnd())
            mScales.push_back(parser.GetDouble('+', false, true));
        if (mScales.empty())
            mScales.push_back(spacing / 5.0);
        std::ostringstream text;
        text << spacing;
        for (double scale : mScales)
            text << "-" << scale;
        mFeatureDefinition.AddParameter<std::string>("ds", text.str());
    }

    const std::string opponentWeight = properties.GetString("descriptorOpponentWeight", "");
    if (!opponentWeight.empty())
        mFeatureDefinition.AddParameter<std::string>("ow", opponentWeight);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
