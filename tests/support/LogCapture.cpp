#include "support/LogCapture.h"

#include <queue>

#include <log4cpp/Category.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/StringQueueAppender.hh>

namespace TestSupport
{

LogCapture::LogCapture(const std::string& category, log4cpp::Priority::Value priority)
    : mCategory(log4cpp::Category::getInstance(category)),
      mAppender(new log4cpp::StringQueueAppender("test_capture")),
      mOldPriority(mCategory.getPriority())
{
    log4cpp::PatternLayout* layout = new log4cpp::PatternLayout();
    layout->setConversionPattern("%m%n");
    mAppender->setLayout(layout);
    mCategory.addAppender(mAppender);
    mCategory.setPriority(priority);
}

LogCapture::~LogCapture()
{
    mCategory.removeAppender(mAppender);
    mCategory.setPriority(mOldPriority);
}

std::string LogCapture::Text() const
{
    std::string text;
    std::queue<std::string> copy = mAppender->getQueue();
    while (!copy.empty())
    {
        text += copy.front();
        copy.pop();
    }
    return text;
}

} // namespace TestSupport
