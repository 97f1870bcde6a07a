// The module's log: a log4cpp appender that hands each line to the call that logged it
// instead of printing it, so that the module is silent by itself, the lines can be
// passed to Python's logging afterwards, and a failure's exception can carry its own
// last ERROR line even while other calls run on other threads.
#ifndef TAVLIN_PYTHON_LOGRECORDS_H
#define TAVLIN_PYTHON_LOGRECORDS_H

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

    // While it lives, the lines logged on the constructing thread go to `records`
    // (the latest ones only, in a long run); lines of a thread without one are dropped.
    class Capture
    {
    public:
        explicit Capture(std::vector<LogRecord>& records);
        ~Capture();
        Capture(const Capture&) = delete;
        Capture& operator=(const Capture&) = delete;

    private:
        std::vector<LogRecord>* mPrevious;
    };

    // The message of the last ERROR line among records; empty when there is none.
    static std::string LastError(const std::vector<LogRecord>& records);

    void close() override {}
    bool requiresLayout() const override { return false; }
    void setLayout(log4cpp::Layout* layout) override;

protected:
    void _append(const log4cpp::LoggingEvent& event) override;

private:
    LogRecords();
};

} // namespace Python
} // namespace Tavlin

#endif
