// The one reporting path of the system. Every message goes through these macros so
// that the flush rule and the exit-on-error rule live in one place:
//   emit when the category has the priority enabled; flush when asked;
//   for ERROR, exit(42) when exit-on-error is set, whether or not the line was emitted.
// Messages are composed with stream operators: TLOG_ERROR(sLog, "bad " << name);
#ifndef TAVLIN_BASIS_REPORT_H
#define TAVLIN_BASIS_REPORT_H

#include <log4cpp/Category.hh>
#include <log4cpp/CategoryStream.hh>
#include <log4cpp/Priority.hh>

namespace Tavlin
{

// Set by LogSystem::Configure from --exitOnErrorLogged and --logFlushOutput.
extern bool gExitOnErrorLogged;
extern bool gLog4CppFlushOutput;

// Flushes standard output (and standard error for errors) after a logged line.
void ReportFlush(bool alsoStdErr);

// Ends the process with status 42 when exit-on-error is set.
void ReportExitOnError();

} // namespace Tavlin

#define TLOG_AT(category, priority, message)                                   \
    do {                                                                       \
        log4cpp::Category& tlogCat_ = (category);                              \
        if (tlogCat_.isPriorityEnabled(priority)) {                            \
            tlogCat_.getStream(priority) << message;                           \
            if (::Tavlin::gLog4CppFlushOutput)                                 \
                ::Tavlin::ReportFlush((priority) <= log4cpp::Priority::ERROR); \
        }                                                                      \
    } while (0)

#define TLOG_DEBUG(category, message) TLOG_AT(category, log4cpp::Priority::DEBUG, message)
#define TLOG_INFO(category, message) TLOG_AT(category, log4cpp::Priority::INFO, message)
#define TLOG_WARN(category, message) TLOG_AT(category, log4cpp::Priority::WARN, message)
#define TLOG_ERROR(category, message)                                          \
    do {                                                                       \
        TLOG_AT(category, log4cpp::Priority::ERROR, message);                  \
        ::Tavlin::ReportExitOnError();                                         \
    } while (0)

#endif
