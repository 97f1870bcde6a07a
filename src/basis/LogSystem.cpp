#include "basis/LogSystem.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <log4cpp/FileAppender.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <log4cpp/StringQueueAppender.hh>

#include "basis/StringList.h"

namespace Tavlin
{

bool gExitOnErrorLogged = false;
bool gLog4CppFlushOutput = false;

void ReportFlush(bool alsoStdErr)
{
    std::cout.flush();
    std::fflush(stdout);
    if (alsoStdErr)
    {
        std::cerr.flush();
        std::fflush(stderr);
    }
}

namespace
{
thread_local bool tDeferExit = false;
thread_local bool tExitDue = false;
std::atomic<void (*)()> sBeforeExit{nullptr};
} // namespace

void ReportExitOnError()
{
    if (!gExitOnErrorLogged)
        return;
    if (tDeferExit)
    {
        tExitDue = true;
        return;
    }
    if (void (*hook)() = sBeforeExit.exchange(nullptr))
        hook();
    std::exit(42);
}

std::recursive_mutex& ReportMutex()
{
    static std::recursive_mutex sMutex;
    return sMutex;
}

void ReportDeferExitOnError(bool defer)
{
    tDeferExit = defer;
}

bool ReportExitDue()
{
    return tExitDue;
}

bool ReportTakeExitDue()
{
    const bool due = tExitDue;
    tExitDue = false;
    return due;
}

void ReportSetBeforeExit(void (*hook)())
{
    sBeforeExit = hook;
}

namespace
{

const char* const sErrorLayout = "%d{%a%d %H:%M:%S,%l} - [%c %x] %m%n";
const mode_t sLogFileMode = 0644;

bool PriorityFromName(const std::string& name, log4cpp::Priority::Value& value)
{
    if (name == "DEBUG")
        value = log4cpp::Priority::DEBUG;
    else if (name == "INFO")
        value = log4cpp::Priority::INFO;
    else if (name == "WARN")
        value = log4cpp::Priority::WARN;
    else if (name == "ERROR")
        value = log4cpp::Priority::ERROR;
    else
        return false;
    return true;
}

log4cpp::Layout* MakeLayout(const std::string& pattern)
{
    auto* layout = new log4cpp::PatternLayout();
    layout->setConversionPattern(pattern);
    return layout;
}

} // namespace

LogSystem& LogSystem::GetInstance()
{
    static LogSystem sInstance;
    return sInstance;
}

ILogErrors& ILogErrors::GetInstance()
{
    static ILogErrors sInstance;
    return sInstance;
}

std::string LogSystem::ProcessPrefix() const
{
    if (mProcessCount <= 1)
        return "";
    return "p" + std::to_string(getpid()) + "_";
}

void LogSystem::AddAppender(log4cpp::Appender* appender, std::string layoutPattern)
{
    if (layoutPattern.empty())
        layoutPattern = mConfig.mLogLayout;
    appender->setLayout(MakeLayout(layoutPattern));
    log4cpp::Category::getRoot().addAppender(appender);
}

void LogSystem::Configure(const LogSystemConfig& config)
{
    mConfig = config;
    log4cpp::Category& root = log4cpp::Category::getRoot();

    FILE* properties = mConfig.mLogProperties.empty() ? nullptr
                                                      : std::fopen(mConfig.mLogProperties.c_str(), "r");
    if (properties)
    {
        std::fclose(properties);
        log4cpp::PropertyConfigurator::configure(mConfig.mLogProperties);
    }
    else
    {
        AddAppender(new log4cpp::OstreamAppender("stdout", &std::cout), mConfig.mLogLayout);
    }

    if (mConfig.mDebug)
        root.setPriority(log4cpp::Priority::DEBUG);

    if (!mConfig.mDebugCat.empty())
    {
        for (const std::string& name : StringList(mConfig.mDebugCat, ';', false))
        {
            std::cout << "debug cat " << name << std::endl;
            log4cpp::Category::getInstance(name).setPriority(log4cpp::Priority::DEBUG);
        }
    }

    log4cpp::Priority::Value priority;
    if (!mConfig.mLogPriority.empty() && PriorityFromName(mConfig.mLogPriority, priority))
        root.setPriority(priority);

    if (!mConfig.mLogFile.empty())
    {
        std::string name = ProcessPrefix() + mConfig.mLogFile;
        AddAppender(new log4cpp::FileAppender("proc_file", name, true, sLogFileMode), mConfig.mLogLayout);
    }

    if (!mConfig.mNoErrorLog)
    {
        std::string name = ProcessPrefix() + "errors.log";
        FILE* test = std::fopen(name.c_str(), "a");
        if (!test)
        {
            std::cerr << "WARNING [LogSystem] failed to open errors.log for writing. You can 1) use log "
                         "properties to write to another file; 2) run in another folder; 3) use option "
                         "noErrorLog to not log to errors.log.\nShutting down for now..."
                      << std::endl;
            std::exit(1);
        }
        std::fclose(test);
        auto* errFile = new log4cpp::FileAppender("err_file", name, true, sLogFileMode);
        errFile->setThreshold(log4cpp::Priority::ERROR);
        AddAppender(errFile, sErrorLayout);

        if (!mConfig.mJobErrorLog.empty())
        {
            auto* jobFile = new log4cpp::FileAppender("err_file", mConfig.mJobErrorLog, true, sLogFileMode);
            jobFile->setThreshold(log4cpp::Priority::ERROR);
            AddAppender(jobFile, sErrorLayout);
        }
    }

    auto* queue = new log4cpp::StringQueueAppender("err_queue");
    queue->setThreshold(log4cpp::Priority::ERROR);
    AddAppender(queue, sErrorLayout);
    ILogErrors::GetInstance().SetQueue(queue);

    gExitOnErrorLogged = mConfig.mExitOnErrorLogged;
    gLog4CppFlushOutput = mConfig.mLogFlushOutput;
}

} // namespace Tavlin
