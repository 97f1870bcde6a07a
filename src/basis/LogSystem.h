// Wiring of log4cpp from the logging options: the stdout appender (or a properties
// file), extra log file, errors.log and job error log, and the in-memory queue of
// errors. Configure runs once, from CmdOptions::ParseArgs.
#ifndef TAVLIN_BASIS_LOGSYSTEM_H
#define TAVLIN_BASIS_LOGSYSTEM_H

#include <string>

#include "basis/Report.h"

namespace log4cpp
{
class Appender;
class StringQueueAppender;
} // namespace log4cpp

namespace Tavlin
{

struct LogSystemConfig
{
    std::string mLogPriority;
    std::string mLogProperties;
    std::string mLogFile;
    std::string mLogLayout;
    bool mDebug = false;
    int mLogLevel = -1;
    std::string mDebugCat;
    bool mNoErrorLog = false;
    std::string mJobErrorLog;
    bool mExitOnErrorLogged = false;
    bool mLogFlushOutput = false;
};

class LogSystem
{
public:
    static LogSystem& GetInstance();
    virtual ~LogSystem() = default;

    void Configure(const LogSystemConfig& config);

    // Gives the appender a PatternLayout (empty pattern: the configured layout) and
    // adds it to the root category.
    void AddAppender(log4cpp::Appender* appender, std::string layoutPattern);

    const LogSystemConfig& GetConfig() const { return mConfig; }

private:
    LogSystem() = default;
    // Prefix of per-process log file names; this tool always runs one process.
    std::string ProcessPrefix() const;

    LogSystemConfig mConfig;
    int mProcessCount = 1;
};

// Holds the appender that every ERROR of the run is also written to.
class ILogErrors
{
public:
    static ILogErrors& GetInstance();
    log4cpp::StringQueueAppender* GetQueue() const { return mQueue; }
    void SetQueue(log4cpp::StringQueueAppender* queue) { mQueue = queue; }

private:
    ILogErrors() = default;
    log4cpp::StringQueueAppender* mQueue = nullptr;
};

} // namespace Tavlin

#endif
