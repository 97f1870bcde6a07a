#include "LogRecords.h"

#include <log4cpp/Category.hh>
#include <log4cpp/Layout.hh>
#include <log4cpp/Priority.hh>

namespace Tavlin
{
namespace Python
{

namespace
{
// A long run logs thousands of lines at INFO; only the latest are worth keeping.
const size_t sMaxRecords = 1000;

// Appenders run on the thread that logs, so the sink needs no lock.
thread_local std::vector<LogRecord>* tSink = nullptr;
} // namespace

LogRecords::LogRecords() : log4cpp::AppenderSkeleton("python") {}

LogRecords& LogRecords::Install()
{
    // Owned by the root category from here on.
    static LogRecords* sInstance = [] {
        auto* records = new LogRecords();
        log4cpp::Category& root = log4cpp::Category::getRoot();
        root.removeAllAppenders();
        root.addAppender(records);
        root.setPriority(log4cpp::Priority::INFO);
        return records;
    }();
    return *sInstance;
}

LogRecords::Capture::Capture(std::vector<LogRecord>& records) : mPrevious(tSink)
{
    tSink = &records;
}

LogRecords::Capture::~Capture()
{
    tSink = mPrevious;
}

void LogRecords::setLayout(log4cpp::Layout* layout)
{
    delete layout;
}

void LogRecords::_append(const log4cpp::LoggingEvent& event)
{
    std::vector<LogRecord>* sink = tSink;
    if (!sink)
        return;
    if (sink->size() >= sMaxRecords)
        sink->erase(sink->begin());
    sink->push_back(LogRecord{event.priority, event.categoryName, event.message});
}

std::string LogRecords::LastError(const std::vector<LogRecord>& records)
{
    for (auto it = records.rbegin(); it != records.rend(); ++it)
        if (it->mPriority <= log4cpp::Priority::ERROR)
            return it->mMessage;
    return std::string();
}

} // namespace Python
} // namespace Tavlin
