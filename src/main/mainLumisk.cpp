#include "main/mainLumisk.h"

#include <malloc.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "basis/CmdOptions.h"
#include "basis/FileName.h"
#include "basis/Report.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/array/Array2dTem.h"
#include "core/array/ReadFile.h"
#include "core/feature/FeatureTable.h"
#include "core/feature/InterestPointFeature.h"
#include "core/feature/codebook/ReadCodebook.h"
#include "persistency/File.h"
#include "persistency/FileLocator.h"
#include "persistency/FileSystem.h"
#include "persistency/Locator.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/IOBuffer.h"
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
    "formats and the exit statuses. --drawRegions writes a PNG picture of the\n"
    "input with each point drawn as a circle of radius 3 x scale, coloured from\n"
    "blue (weakest) to red (strongest cornerness).";

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

// Inputs, outputs, regions, batch files and codebooks all resolve here: in the
// current directory, or on the data server that --dataServer names.
Persistency::Locator DriverLocator()
{
    return Persistency::Locator("file:" + CmdOptions::GetInstance().GetString("dataServer", ""), "direct");
}

Persistency::File GetDriverFile(const std::string& name, bool write)
{
    return Persistency::RepositoryInFileSystem::GetInstance().GetFile(
        Persistency::FileLocator(DriverLocator(), name), write, false);
}

// One image name per line; blank lines and "#" comment lines are skipped, nothing is
// trimmed. A batch file that can not be opened gives an empty list.
void ReadBatchFile(const std::string& name, std::vector<std::string>& inputs)
{
    std::unique_ptr<Util::IOBuffer> buffer(GetDriverFile(name, false).GetReadBuffer());
    if (!buffer || !buffer->Valid())
        return;
    while (buffer->Available() != 0)
    {
        std::string line = buffer->ReadLine();
        if (!line.empty() && line[0] != '#')
            inputs.push_back(line);
    }
}

// The file an option names for one input: in a batch the option names a directory and
// the file inside it is the input's base name plus the extension.
Persistency::File ResolveFile(const std::string& value, bool batch, const std::string& base, bool write,
                              const char* extension = ".bin")
{
    if (value.empty())
        return Persistency::File();
    return GetDriverFile(batch ? FileNameConcat(value, base + extension) : value, write);
}

bool FlagValue(const std::string& value)
{
    return atoi(value) != 0 || value == "yes" || value == "true";
}

log4cpp::Category& DriverLog()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Sandbox.vesk.mainLumisk");
    return sLog;
}

// A matrix read like a codebook from `name`, resolved in the current directory; null
// after the messages when it cannot be read. The codebook goes through GetFile, the
// reduction matrix through its file system's path lookup.
Core::Array::Array2dReal64* ReadMatrixFile(const std::string& name, bool asCodebook, const char* nullBufferMessage)
{
    log4cpp::Category& sLog = DriverLog();
    Persistency::FileLocator locator(DriverLocator(), name);
    Persistency::RepositoryInFileSystem& repository = Persistency::RepositoryInFileSystem::GetInstance();
    Persistency::File file = repository.GetFile(locator, false, false);
    if (!asCodebook)
    {
        Persistency::FileSystem* fs = repository.GetFS(locator);
        file = Persistency::File(fs->GetFilePath("", name, false, false), fs, false);
    }
    std::unique_ptr<Util::IOBuffer> buffer(file.GetReadBuffer());
    if (!buffer)
    {
        TLOG_ERROR(sLog, nullBufferMessage);
        return nullptr;
    }
    return Core::Feature::ReadCodebookFromBuffer(buffer.get());
}

// Reads the codebook, the optional reduction matrix and, for the forest mode, the
// codebook file as a table, and hands them to the feature. False, after a message,
// when anything asked for cannot be had: no run goes on with a missing matrix.
bool LoadCodebook(CmdOptions& options, const std::string& codebookName, Core::Feature::InterestPointFeature& feature)
{
    log4cpp::Category& sLog = DriverLog();
    std::unique_ptr<Core::Array::Array2dReal64> codebook(
        ReadMatrixFile(codebookName, true, "SetCodebook: IOBuffer is 0"));
    if (!codebook || codebook->Height() < 1)
    {
        TLOG_ERROR(sLog, "[ERROR] Could not read a codebook with words from " << codebookName);
        return false;
    }
    std::unique_ptr<Core::Array::Array2dReal64> reduce;
    const std::string reduceName = options.GetString("descriptorReduce", "");
    if (!reduceName.empty())
    {
        reduce.reset(ReadMatrixFile(reduceName, false, "SetCodebook-reduce: IOBuffer is 0"));
        if (!reduce)
        {
            TLOG_ERROR(sLog, "[ERROR] Could not read the descriptorReduce matrix from " << reduceName);
            return false;
        }
    }
    feature.SetCodebook(codebook.release(), reduce.release());

    if (options.GetString("codebookMode", "hard") == "forest")
    {
        Persistency::File file = GetDriverFile(codebookName, false);
        std::unique_ptr<Util::IOBuffer> buffer(file.GetReadBuffer());
        Core::Feature::FeatureTable* forest = buffer ? Core::Feature::ReadCodebookTable(buffer.get()) : nullptr;
        if (!forest)
        {
            TLOG_ERROR(sLog, "[ERROR] Mode forest needs the codebook as a table file: " << codebookName);
            return false;
        }
        feature.SetForest(forest);
    }
    return true;
}

int RunLumisk(int argc, char** argv)
{
    // Keep freed planes in the heap: handing them back to the system and faulting them
    // in again on the next filter costs more than the filtering itself.
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    mallopt(M_TRIM_THRESHOLD, 256 << 20);

    CmdOptions& options = CmdOptions::GetInstance();
    options.Initialise(false, false, false);
    Core::Feature::InterestPointFeature::AddCmdOptions();

    log4cpp::Category& sLog = DriverLog();

    options.AddOption(0, "data", "path", ".", nullptr, true);
    options.AddOption(0, "override", "", "1");
    options.AddOption(0, "batch", "", "0");
    options.AddOption(0, "descriptorReduce", "filename", "");
    options.AddOption(0, "dataServer", "machine:port", "");
    options.AddOption(0, "passwordFile", "filename", ".passwords");

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

    Core::Feature::InterestPointFeature feature(*properties);

    const std::string codebookName = options.GetString("codebook", "");
    if (!codebookName.empty())
    {
        if (!LoadCodebook(options, codebookName, feature))
            return 1;
        feature.ConfigurePyramid(*properties);
        if (!feature.PrepareCodebookMode())
            return 1;
        TLOG_INFO(sLog, "Loaded codebook at " << totalTimer.SplitTimeStr(1.0));
    }

    std::vector<std::string> inputs;
    const std::string input = options.GetArgFile(0);
    if (!batch)
        inputs.push_back(input);
    else
        ReadBatchFile(input, inputs);

    const std::string loadRegions = options.GetString("loadRegions", "");
    const std::string saveRegions = options.GetString("saveRegions", "");
    const std::string output = options.GetString("output", "");
    const std::string drawRegions = options.GetString("drawRegions", "");

    for (const std::string& entry : inputs)
    {
        if (entry.empty())
            continue;
        const std::string base = FileNameBase(entry);
        Persistency::File inputFile = GetDriverFile(entry, false);
        // Writable files are resolved first, so their directories exist before decoding.
        Persistency::File loadRegionsFile = ResolveFile(loadRegions, batch, base, false);
        Persistency::File saveRegionsFile = ResolveFile(saveRegions, batch, base, true);
        Persistency::File outputFile = ResolveFile(output, batch, base, true);
        Persistency::File drawRegionsFile = ResolveFile(drawRegions, batch, base, true, ".png");
        Core::Array::Array2dVec3UInt8* image = nullptr;
        Core::Array::ReadFile(image, inputFile);
        if (!image)
        {
            TLOG_ERROR(sLog, "[ERROR] Could not read input file: is it really a valid image? " << entry);
            return 1;
        }
        TLOG_INFO(sLog, "Loaded " << entry << " at " << Timer::Format(totalTimer.SplitTime()));
        std::unique_ptr<Core::Array::Array2dVec3UInt8> owned(image);
        if (!feature.FindInterestPoints(image, Quid(0), outputFile, false, loadRegionsFile, saveRegionsFile,
                                        drawRegionsFile))
        {
            TLOG_ERROR(sLog, "Extracting interest points/descriptors failed somehow.");
            return 1;
        }
    }

    // Collected cluster input is the run's result: training data for codebooks.
    if (feature.GetClusterInput() && !output.empty())
    {
        Persistency::File file = GetDriverFile(batch ? FileNameConcat(output, "clusterinput.bin") : output, true);
        if (file.Valid())
            feature.WriteClusterInput(file);
    }

    TLOG_INFO(sLog, "Completed in " << Timer::Format(totalTimer.SplitTime()));
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
