// The module's log: a log4cpp appender that keeps the lines of the current call in
// memory instead of printing them, so that the module is silent by itself, the lines
// can be handed to Python's logging afterwards, and a failure's exception can carry the
// last ERROR line.
#ifndef TAVLIN_PYTHON_LOGRECORDS_H
#define TAVLIN_PYTHON_LOGRECORDS_H

#include <mutex>
#include <string>
#include <vector>

#include <log4cpp/AppenderSkeleton.hh>

namespace Tavlin
{
namespace Python
{

struct LogRecord
{
    int mPriority; // log4cpp's value: lower is more severe
    std::string mCategory;
    std::string mMessage;
};

class LogRecords : public log4cpp::AppenderSkeleton
{
public:
    // Makes the appender the root category's only one, at INFO. Once per process.
    static LogRecords& Install();

    // The lines since the last call, which are forgotten.
    std::vector<LogRecord> Take();
    // The message of the last ERROR line among records; empty when there is none.
    static std::string LastError(const std::vector<LogRecord>& records);

    void close() override {}
    bool requiresLayout() const override { return false; }
    void setLayout(log4cpp::Layout* layout) override;

protected:
    void _append(const log4cpp::LoggingEvent& event) override;

private:
    LogRecords();

    std::mutex mMutex;
    std::vector<LogRecord> mRecords;
};

} // namespace Python
} // namespace Tavlin

#endif
