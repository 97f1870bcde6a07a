#include "train/mainLumiskTrain.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "basis/CmdOptions.h"
#include "basis/FileName.h"
#include "basis/Report.h"
#include "basis/RunReportingThrows.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/array/WriteRaw.h"
#include "core/feature/codebook/ReadCodebook.h"
#include "core/feature/codebook/TrainDiffStat.h"
#include "core/feature/codebook/TrainGaussianMixture.h"
#include "core/feature/codebook/TrainKMeans.h"
#include "core/feature/codebook/TrainingDescriptors.h"
#include "persistency/File.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Sandbox
{
namespace Vesk
{

namespace
{

using Core::Array::Array2dReal64;

const char* const sUsage =
    "kmeans|gmm|diffstat FILE...\n\n"
    "Trains what the projection of lumisk reads, from descriptor files (VESK1 or\n"
    "BINDESC1, such as a --clusterInput run's output). With --batch each FILE is a\n"
    "list of descriptor files, one a line.\n"
    "  kmeans    a codebook of --words words (--output FILE and/or --codebookName)\n"
    "  gmm       a Gaussian mixture of --words Gaussians, started from k-means\n"
    "  diffstat  the residual statistics of --codebook, for the sdc and mdc modes\n"
    "--codebookName NAME writes ROOT/Codebooks/NAME.<kind>.raw, ROOT from --data.";

const char* const sHiddenOptions[] = {"verb",    "debug",        "debugCat", "logProperties",
                                      "logLayout", "showProgress", "tmpPath"};

log4cpp::Category& DriverLog()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Sandbox.vesk.mainLumiskTrain");
    return sLog;
}

// The descriptor files: the positional arguments after the command, or with --batch
// the lines of the lists they name (blank lines and "#" lines skipped).
bool CollectInputs(CmdOptions& options, bool batch, std::vector<std::string>& files)
{
    for (size_t i = 1; i < options.GetArgCount(); ++i)
    {
        const std::string name = options.GetArg(i);
        if (!batch)
        {
            files.push_back(name);
            continue;
        }
        std::unique_ptr<Util::IOBuffer> buffer(Persistency::RepositoryGetFile(name, false, false).GetReadBuffer());
        if (!buffer || !buffer->Valid())
        {
            TLOG_ERROR(DriverLog(), "[ERROR] Cannot read the list " << name);
            return false;
        }
        while (buffer->Available() != 0)
        {
            std::string line = buffer->ReadLine();
            if (!line.empty() && line[0] != '#')
                files.push_back(line);
        }
    }
    return true;
}

// A matrix (or list) to write and the file it goes to, resolved before any training
// so that a name that cannot be written ends the run before anything is written.
struct Output
{
    Persistency::File file;
    std::vector<Array2dReal64*> matrices;
};

bool ResolveOutput(const std::string& path, std::vector<Output>& outputs)
{
    Persistency::File file = Persistency::RepositoryGetFile(path, true, false);
    if (!file.Valid())
    {
        TLOG_ERROR(DriverLog(), "[ERROR] Cannot write " << path);
        return false;
    }
    outputs.push_back(Output{file, {}});
    return true;
}

std::string RepositoryName(const std::string& root, const std::string& name, const std::string& kind)
{
    return FileNameConcat(FileNameConcat(root, "Codebooks"), name + "." + kind + ".raw");
}

bool WriteOutputs(const std::vector<Output>& outputs)
{
    for (const Output& output : outputs)
    {
        std::unique_ptr<Util::IOBuffer> buffer(output.file.GetWriteBuffer());
        if (!buffer || !buffer->Valid() || !Core::Array::WriteRawList(output.matrices, buffer.get(), 3))
        {
            TLOG_ERROR(DriverLog(), "[ERROR] Writing " << output.file.GetPath() << " failed");
            return false;
        }
    }
    for (const Output& output : outputs)
        std::cout << "Wrote " << output.file.GetPath() << std::endl;
    return true;
}

int RunTrain(int argc, char** argv)
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Initialise(false, false, false);
    log4cpp::Category& sLog = DriverLog();

    options.AddOption(0, "data", "path", ".", nullptr, true);
    options.AddOption(0, "override", "", "1");
    options.AddOption(0, "batch", "", "0");
    options.AddOption(0, "words", "count", "");
    options.AddOption(0, "iterations", "count", "");
    options.AddOption(0, "seed", "seed", "1");
    options.AddOption(0, "sample", "count", "0");
    options.AddOption(0, "output", "filename", "");
    options.AddOption(0, "codebookName", "name", "");
    options.AddOption(0, "codebook", "filename", "");
    for (const char* name : sHiddenOptions)
        options.HideOption(name);

    std::cout << "Lumisk-train v4.0\n"
              << "======================\n"
              << "\n"
              << "Codebooks, Gaussian mixtures and residual statistics for visual-word projection.\n"
              << "\n";
    std::cout.flush();

    if (!options.ParseArgs(argc, argv, sUsage, 1))
        return 1;

    Timer totalTimer(1);
    totalTimer.Start();

    const std::string command = options.GetArg(0);
    if (command != "kmeans" && command != "gmm" && command != "diffstat")
    {
        TLOG_ERROR(sLog, "[ERROR] Unknown command " << command << ": use kmeans, gmm or diffstat");
        return 1;
    }
    const bool batch = options.GetBool("batch");
    std::vector<std::string> files;
    if (!CollectInputs(options, batch, files))
        return 1;
    if (files.empty())
    {
        TLOG_ERROR(sLog, "[ERROR] No input: name descriptor files, or lists of them with --batch");
        return 1;
    }

    const std::string wordsText = options.GetString("words", "");
    const int words = atoi(wordsText);
    const std::string iterationsText = options.GetString("iterations", "");
    const long long sample = atol(options.GetString("sample", "0"));
    const int64_t seed = atol(options.GetString("seed", "1"));
    const std::string output = options.GetString("output", "");
    const std::string codebookName = options.GetString("codebookName", "");
    const std::string root = options.GetString("data", ".");
    const std::string codebookFile = options.GetString("codebook", "");

    if (command != "diffstat")
    {
        if (wordsText.empty())
        {
            TLOG_ERROR(sLog, "[ERROR] " << command << " needs --words K");
            return 1;
        }
        if (words < 1)
        {
            TLOG_ERROR(sLog, "[ERROR] --words must be at least 1, not " << wordsText);
            return 1;
        }
        if (!iterationsText.empty() && atoi(iterationsText) < 1)
        {
            TLOG_ERROR(sLog, "[ERROR] --iterations must be at least 1, not " << iterationsText);
            return 1;
        }
    }
    if (codebookName.empty() && (command != "kmeans" || output.empty()))
    {
        TLOG_ERROR(sLog, "[ERROR] Nothing to write: give --codebookName NAME"
                             << (command == "kmeans" ? " or --output FILE" : ""));
        return 1;
    }

    std::unique_ptr<Array2dReal64> codebook;
    if (command == "diffstat")
    {
        const std::string name =
            codebookFile.empty() ? RepositoryName(root, codebookName, "codebook") : codebookFile;
        std::unique_ptr<Util::IOBuffer> buffer(Persistency::RepositoryGetFile(name, false, false).GetReadBuffer());
        if (buffer)
            codebook.reset(Core::Feature::ReadCodebookFromBuffer(buffer.get()));
        if (!codebook || codebook->mHeight < 1 || codebook->mWidth < 1)
        {
            TLOG_ERROR(sLog, "[ERROR] Could not read a codebook with words from " << name);
            return 1;
        }
    }

    std::unique_ptr<Array2dReal64> data(Core::Feature::ReadTrainingDescriptors(files, sample, seed, sLog));
    if (!data)
        return 1;
    TLOG_INFO(sLog, "Read " << data->mHeight << " descriptors of length " << data->mWidth << " from "
                            << files.size() << " files at " << Timer::Format(totalTimer.SplitTime()));
    if (command != "diffstat" && words > data->mHeight)
    {
        TLOG_ERROR(sLog, "[ERROR] --words " << words << " is larger than the number of descriptors, "
                                           << data->mHeight);
        return 1;
    }
    if (command == "gmm" && data->mHeight < 2)
    {
        TLOG_ERROR(sLog, "[ERROR] gmm needs at least two descriptors");
        return 1;
    }
    if (codebook && codebook->mWidth != data->mWidth)
    {
        TLOG_ERROR(sLog, "[ERROR] Descriptors of length " << data->mWidth << " for a codebook of length "
                                                          << codebook->mWidth);
        return 1;
    }

    std::vector<Output> outputs;
    if (command == "kmeans" && !output.empty() && !ResolveOutput(output, outputs))
        return 1;
    if (!codebookName.empty())
    {
        const std::vector<std::string> kinds = command == "kmeans" ? std::vector<std::string>{"codebook"}
                                               : command == "gmm"
                                                   ? std::vector<std::string>{"gmm-mean", "gmm-var", "gmm-weights"}
                                                   : std::vector<std::string>{"diffstat"};
        for (const std::string& kind : kinds)
            if (!ResolveOutput(RepositoryName(root, codebookName, kind), outputs))
                return 1;
    }

    Core::Feature::KMeansParam param;
    param.words = words;
    param.iterations = iterationsText.empty() ? 20 : atoi(iterationsText);
    param.seed = seed;
    param.progress = &std::cerr;
    std::vector<std::unique_ptr<Array2dReal64>> results;
    if (command == "kmeans")
    {
        results.emplace_back(Core::Feature::TrainKMeans(data.get(), param));
        for (Output& out : outputs)
            out.matrices.push_back(results[0].get());
    }
    else if (command == "gmm")
    {
        Core::Feature::GaussianMixtureParam gmmParam;
        gmmParam.kmeans = param;
        gmmParam.kmeans.iterations = 20;
        if (!iterationsText.empty())
            gmmParam.em.max_iter = atoi(iterationsText);
        Core::Matrix::MatList model;
        if (!Core::Feature::TrainGaussianMixture(data.get(), gmmParam, model, sLog))
            return 1;
        for (size_t i = 0; i < model.size(); ++i)
        {
            results.emplace_back(model[i]);
            outputs[i].matrices.push_back(model[i]);
        }
    }
    else
    {
        Core::Matrix::MatList statistics;
        Core::Feature::TrainDiffStat(data.get(), codebook.get(), statistics);
        for (Array2dReal64* m : statistics)
        {
            results.emplace_back(m);
            outputs[0].matrices.push_back(m);
        }
    }
    if (!WriteOutputs(outputs))
        return 1;
    TLOG_INFO(sLog, "Completed in " << Timer::Format(totalTimer.SplitTime()));
    return 0;
}

} // namespace

int mainLumiskTrain(int argc, char** argv)
{
    return RunReportingThrows(DriverLog(), [&] { return RunTrain(argc, argv); });
}

} // namespace Vesk
} // namespace Sandbox
} // namespace Tavlin
