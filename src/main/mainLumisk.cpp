#include "main/mainLumisk.h"

#include <algorithm>

#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "basis/CmdOptions.h"
#include "basis/FileName.h"
#include "basis/Report.h"
#include "basis/RunReportingThrows.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/array/Array2dTem.h"
#include "core/array/ReadFile.h"
#include "core/feature/FeatureTable.h"
#include "core/feature/InterestPointFeature.h"
#include "core/feature/codebook/ReadCodebook.h"
#include "main/BatchRun.h"
#include "persistency/File.h"
#include "persistency/FileLocator.h"
#include "persistency/FileSystem.h"
#include "persistency/Locator.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/IOBuffer.h"
#include "util/PlaneHeap.h"
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
    "logProperties",  "logLayout",
    "tmpPath",        "recGauss",    "descriptorBinCount",
    "descriptorPreSmoothing",        "clusterInput",
    "noFeatureCache", "extraBoxes",  "featurePrefix",
    "data",           "descriptorOpponentWeight",
    "surf-haar-size", "surf-spaciality",
    "surf-subregion-size"};

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

// K and N of --shard K/N; 0 and 1, all entries, for the empty text. False after a
// message for a text that is no such pair.
bool ParseShard(const std::string& text, size_t& shard, size_t& count)
{
    shard = 0;
    count = 1;
    if (text.empty())
        return true;
    const size_t slash = text.find('/');
    const std::string k = slash == std::string::npos ? std::string() : text.substr(0, slash);
    const std::string n = slash == std::string::npos ? std::string() : text.substr(slash + 1);
    const bool digits = !k.empty() && !n.empty() && k.size() < 10 && n.size() < 10 &&
                        k.find_first_not_of("0123456789") == std::string::npos &&
                        n.find_first_not_of("0123456789") == std::string::npos;
    if (digits)
    {
        shard = std::stoul(k);
        count = std::stoul(n);
    }
    if (!digits || count < 1 || shard >= count)
    {
        TLOG_ERROR(DriverLog(), "[ERROR] --shard needs K/N with 0 <= K < N: " << text);
        return false;
    }
    return true;
}

int RunLumisk(int argc, char** argv)
{
    // Faulting fresh pages in costs more than the filtering of a photo: planes stay in
    // the heap, and its first 256 MB take huge pages where the system offers them.
    Process::SetUpPlaneHeap(size_t(256) << 20);

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
    options.AddOption(0, "threads", "N", "1");
    options.AddOption(0, "shard", "K/N", "");

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

    const bool batch = options.GetBool("batch");

    BatchSettings settings;
    settings.batch = batch;
    settings.loadRegions = options.GetString("loadRegions", "");
    settings.saveRegions = options.GetString("saveRegions", "");
    settings.output = options.GetString("output", "");
    settings.drawRegions = options.GetString("drawRegions", "");
    settings.showProgress = options.GetBool("showProgress");
    settings.threads = options.GetInt("threads", 1);
    if (settings.threads < 0)
    {
        TLOG_ERROR(sLog, "[ERROR] --threads needs a number of workers, 0 for one per core: " << settings.threads);
        return 1;
    }
    if (settings.threads == 0)
        settings.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    // A data server is reached through one channel, whose message block serves one
    // request at a time.
    if (settings.threads > 1 && !options.GetString("dataServer", "").empty())
    {
        TLOG_WARN(sLog, "--threads " << settings.threads << " with --dataServer: running on one thread");
        settings.threads = 1;
    }
    size_t shard = 0;
    size_t shardCount = 1;
    if (!ParseShard(options.GetString("shard", ""), shard, shardCount))
        return 1;

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

    // Shard K of N: the entries whose index i, over the names kept, has i mod N = K.
    std::vector<std::string> kept;
    for (size_t i = shard; i < inputs.size(); i += shardCount)
        kept.push_back(inputs[i]);
    inputs.swap(kept);

    const int status = RunImages(feature, inputs, settings, totalTimer);
    if (status != 0)
        return status;
    const std::string output = settings.output;

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
    return RunReportingThrows(DriverLog(), [&] { return RunLumisk(argc, argv); });
}

} // namespace Vesk
} // namespace Sandbox
} // namespace Tavlin
