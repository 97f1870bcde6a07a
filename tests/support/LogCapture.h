// Captures what one log4cpp category emits while the object lives: an in-memory
// appender with the bare message layout, the category set to the wanted priority.
#ifndef LUMISK_TESTS_SUPPORT_LOGCAPTURE_H
#define LUMISK_TESTS_SUPPORT_LOGCAPTURE_H

#include <string>

#include <log4cpp/Priority.hh>

namespace log4cpp
{
class Category;
class StringQueueAppender;
} // namespace log4cpp

namespace TestSupport
{

class LogCapture
{
public:
    LogCapture(const std::string& category, log4cpp::Priority::Value priority = log4cpp::Priority::DEBUG);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // All messages so far, each followed by a line end.
    std::string Text() const;

private:
    log4cpp::Category& mCategory;
    log4cpp::StringQueueAppender* mAppender;
    log4cpp::Priority::Value mOldPriority;
};

} // namespace TestSupport

#endif
