#include "main/BatchRun.h"

#include <unistd.h>

#include <condition_variable>
#include <exception>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>

#include "basis/CmdOptions.h"
#include "basis/FileName.h"
#include "basis/Report.h"
#include "core/array/ReadFile.h"
#include "core/feature/ImageFiles.h"
#include "core/feature/PointDescriptorTable.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/Progress.h"
#include "util/TimeStats.h"

namespace Tavlin
{
namespace Sandbox
{
namespace Vesk
{

using Core::Array::Array2dVec3UInt8;
using Core::Feature::ImageFiles;
using Core::Feature::InterestPointFeature;
using Core::Feature::PointDescriptorTable;

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Sandbox.vesk.mainLumisk");

// The file an option names for one input: in a batch the option names a directory and
// the file inside it is the input's base name plus the extension.
Persistency::File ResolveFile(const std::string& value, bool batch, const std::string& base, bool write,
                              const char* extension = ".bin")
{
    if (value.empty())
        return Persistency::File();
    return GetDriverFile(batch ? FileNameConcat(value, base + extension) : value, write);
}

// The files one input writes, resolved (and their directories made) as the serial run
// does before it decodes the image.
struct WriteFiles
{
    WriteFiles(const BatchSettings& settings, const std::string& base)
        : saveRegions(ResolveFile(settings.saveRegions, settings.batch, base, true)),
          output(ResolveFile(settings.output, settings.batch, base, true)),
          drawRegions(ResolveFile(settings.drawRegions, settings.batch, base, true, ".png"))
    {
    }
    Persistency::File saveRegions;
    Persistency::File output;
    Persistency::File drawRegions;
};

std::unique_ptr<Util::Progress> MakeProgress(const BatchSettings& settings, size_t total)
{
    if (!settings.batch || !settings.showProgress)
        return nullptr;
    return std::unique_ptr<Util::Progress>(
        new Util::Progress(std::cerr, static_cast<int64_t>(total), isatty(STDERR_FILENO) != 0));
}

const char* const sUnreadable = "[ERROR] Could not read input file: is it really a valid image? ";
const char* const sFailed = "Extracting interest points/descriptors failed somehow.";

int RunSerial(InterestPointFeature& feature, const std::vector<std::string>& inputs, const BatchSettings& settings,
              Timer& totalTimer)
{
    std::unique_ptr<Util::Progress> progress = MakeProgress(settings, inputs.size());
    for (size_t i = 0; i < inputs.size(); ++i)
    {
        const std::string& entry = inputs[i];
        if (entry.empty())
            continue;
        const std::string base = FileNameBase(entry);
        Persistency::File inputFile = GetDriverFile(entry, false);
        Persistency::File loadRegionsFile = ResolveFile(settings.loadRegions, settings.batch, base, false);
        // Writable files are resolved first, so their directories exist before decoding.
        WriteFiles files(settings, base);
        Array2dVec3UInt8* image = nullptr;
        Core::Array::ReadFile(image, inputFile);
        if (!image)
        {
            TLOG_ERROR(sLog, sUnreadable << entry);
            return 1;
        }
        TLOG_INFO(sLog, "Loaded " << entry << " at " << Timer::Format(totalTimer.SplitTime()));
        std::unique_ptr<Array2dVec3UInt8> owned(image);
        if (!feature.FindInterestPoints(image, Quid(0), files.output, false, loadRegionsFile, files.saveRegions,
                                        files.drawRegions))
        {
            TLOG_ERROR(sLog, sFailed);
            return 1;
        }
        if (progress)
            progress->Update(static_cast<int64_t>(i + 1));
    }
    return 0;
}

// Workers take the images in input order and run the part of the pipeline that may
// run at once; the calling thread finishes them one after another in input order:
// resolves the files to write, writes what the worker kept back, thins and writes the
// output. A failure is acted upon at its image's turn, so the images before it are
// complete and none after it has a file. Workers run at most a window of images ahead,
// which bounds the memory of what waits.
class ParallelBatch
{
public:
    ParallelBatch(InterestPointFeature& feature, const std::vector<std::string>& inputs,
                  const BatchSettings& settings, Timer& totalTimer)
        : mFeature(feature), mInputs(inputs), mSettings(settings), mTotalTimer(totalTimer),
          mWindow(4 * static_cast<size_t>(settings.threads)), mSlots(mWindow)
    {
    }
    ~ParallelBatch()
    {
        Stop();
        ReportSetBeforeExit(nullptr);
        sRunning = nullptr;
    }
    ParallelBatch(const ParallelBatch&) = delete;
    ParallelBatch& operator=(const ParallelBatch&) = delete;

    int Run();

private:
    struct Job
    {
        explicit Job(const std::string& name) : entry(name) {}
        std::string entry;
        // An exit on error was noted while resolving the input names, or while decoding.
        bool exitBeforeFiles = false;
        bool exitAfterRead = false;
        std::unique_ptr<Array2dVec3UInt8> image;
        bool read = false;
        ImageFiles files;
        Timer timer{1};
        std::unique_ptr<PointDescriptorTable> rest;
        bool extracted = false;
        bool exitDue = false;
        std::exception_ptr error;
        bool done = false;
    };

    void Work();
    void Process(Job& job, Util::TimeStats& stats);
    // -1 to go on, otherwise the status of the run.
    int Commit(Job& job);
    void Stop();
    // Before an exit on error on the calling thread: the workers must not run on while
    // the process ends.
    static void StopForExit() { if (sRunning) sRunning->Stop(); }

    static ParallelBatch* sRunning;

    InterestPointFeature& mFeature;
    const std::vector<std::string>& mInputs;
    const BatchSettings& mSettings;
    Timer& mTotalTimer;
    const size_t mWindow;

    std::mutex mMutex;
    std::condition_variable mWorkerWake;
    std::condition_variable mCommitWake;
    size_t mNext = 0;
    size_t mCommitted = 0;
    bool mStop = false;
    // Job i waits in slot i modulo the window until it is committed.
    std::vector<std::unique_ptr<Job>> mSlots;
    std::vector<std::thread> mWorkers;
};

ParallelBatch* ParallelBatch::sRunning = nullptr;

int ParallelBatch::Run()
{
    sRunning = this;
    ReportSetBeforeExit(&ParallelBatch::StopForExit);
    std::unique_ptr<Util::Progress> progress = MakeProgress(mSettings, mInputs.size());
    for (int i = 0; i < mSettings.threads; ++i)
        mWorkers.emplace_back(&ParallelBatch::Work, this);
    for (size_t c = 0; c < mInputs.size(); ++c)
    {
        Job* job = nullptr;
        {
            std::unique_lock<std::mutex> lock(mMutex);
            std::unique_ptr<Job>& slot = mSlots[c % mWindow];
            mCommitWake.wait(lock, [&slot] { return slot && slot->done; });
            job = slot.get();
        }
        const int status = Commit(*job);
        if (status >= 0)
            return status;
        std::unique_ptr<Job> finished;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            finished = std::move(mSlots[c % mWindow]);
            ++mCommitted;
        }
        mWorkerWake.notify_all();
        if (progress)
            progress->Update(static_cast<int64_t>(c + 1));
    }
    return 0;
}

void ParallelBatch::Work()
{
    ReportDeferExitOnError(true);
    Util::TimeStats stats(1);
    stats.AddGroup("detector");
    stats.AddGroup("descriptor");
    stats.AddGroup("projection");
    for (;;)
    {
        Job* job = nullptr;
        {
            std::unique_lock<std::mutex> lock(mMutex);
            mWorkerWake.wait(lock, [this] {
                return mStop || mNext >= mInputs.size() || mNext < mCommitted + mWindow;
            });
            if (mStop || mNext >= mInputs.size())
                return;
            std::unique_ptr<Job>& slot = mSlots[mNext % mWindow];
            slot.reset(new Job(mInputs[mNext]));
            job = slot.get();
            ++mNext;
        }
        Process(*job, stats);
        {
            std::lock_guard<std::mutex> lock(mMutex);
            job->done = true;
        }
        mCommitWake.notify_one();
    }
}

void ParallelBatch::Process(Job& job, Util::TimeStats& stats)
{
    ReportTakeExitDue();
    try
    {
        const std::string base = FileNameBase(job.entry);
        Persistency::File inputFile = GetDriverFile(job.entry, false);
        Persistency::File loadRegions = ResolveFile(mSettings.loadRegions, mSettings.batch, base, false);
        job.exitBeforeFiles = ReportTakeExitDue();
        if (job.exitBeforeFiles)
            return;
        Array2dVec3UInt8* image = nullptr;
        Core::Array::ReadFile(image, inputFile);
        job.image.reset(image);
        job.read = image != nullptr;
        job.exitAfterRead = ReportTakeExitDue();
        if (!job.read || job.exitAfterRead)
            return;
        job.extracted =
            mFeature.ExtractPoints(image, Quid(0), false, loadRegions, job.files, stats, job.timer, job.rest);
    }
    catch (...)
    {
        job.error = std::current_exception();
    }
    job.exitDue = ReportTakeExitDue();
    // The picture is drawn when the image's turn comes; nothing else needs the image.
    if (mSettings.drawRegions.empty())
        job.image.reset();
}

int ParallelBatch::Commit(Job& job)
{
    // An exit noted on a worker happens here, where the serial run would have ended.
    if (job.exitBeforeFiles)
        ReportExitOnError();
    WriteFiles files(mSettings, FileNameBase(job.entry));
    if (job.exitAfterRead)
        ReportExitOnError();
    if (!job.read)
    {
        if (job.error)
            std::rethrow_exception(job.error);
        TLOG_ERROR(sLog, sUnreadable << job.entry);
        return 1;
    }
    TLOG_INFO(sLog, "Loaded " << job.entry << " at " << Timer::Format(mTotalTimer.SplitTime()));
    job.files.Replay(files.output, files.saveRegions, files.drawRegions);
    if (job.exitDue)
        ReportExitOnError();
    if (job.error)
        std::rethrow_exception(job.error);
    if (!job.extracted)
    {
        TLOG_ERROR(sLog, sFailed);
        return 1;
    }
    mFeature.FinishPoints(std::move(job.rest), Quid(0), files.output, job.timer);
    return -1;
}

void ParallelBatch::Stop()
{
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
    }
    mWorkerWake.notify_all();
    for (std::thread& worker : mWorkers)
        if (worker.joinable())
            worker.join();
}

} // namespace

Persistency::Locator DriverLocator()
{
    return Persistency::Locator("file:" + CmdOptions::GetInstance().GetString("dataServer", ""), "direct");
}

Persistency::File GetDriverFile(const std::string& name, bool write)
{
    return Persistency::RepositoryInFileSystem::GetInstance().GetFile(
        Persistency::FileLocator(DriverLocator(), name), write, false);
}

int RunImages(InterestPointFeature& feature, const std::vector<std::string>& inputs, const BatchSettings& settings,
              Timer& totalTimer)
{
    if (settings.threads <= 1 || inputs.size() <= 1)
        return RunSerial(feature, inputs, settings, totalTimer);
    BatchSettings capped = settings;
    if (static_cast<size_t>(capped.threads) > inputs.size())
        capped.threads = static_cast<int>(inputs.size());
    ParallelBatch batch(feature, inputs, capped, totalTimer);
    return batch.Run();
}

} // namespace Vesk
} // namespace Sandbox
} // namespace Tavlin
