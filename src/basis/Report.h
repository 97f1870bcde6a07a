// The one reporting path of the system. Every message goes through these macros so
// that the flush rule and the exit-on-error rule live in one place:
//   emit when the category has the priority enabled; flush when asked;
//   for ERROR, exit(42) when exit-on-error is set, whether or not the line was emitted.
// Messages are composed with stream operators: TLOG_ERROR(sLog, "bad " << name);
// Lines from several threads are emitted one at a time, so they interleave whole.
#ifndef TAVLIN_BASIS_REPORT_H
#define TAVLIN_BASIS_REPORT_H

#include <log4cpp/Category.hh>
#include <log4cpp/CategoryStream.hh>
#include <log4cpp/Priority.hh>

#include <mutex>

namespace Tavlin
{

// Set by LogSystem::Configure from --exitOnErrorLogged and --logFlushOutput.
extern bool gExitOnErrorLogged;
extern bool gLog4CppFlushOutput;

// Flushes standard output (and standard error for errors) after a logged line.
void ReportFlush(bool alsoStdErr);

// Ends the process with status 42 when exit-on-error is set. On a thread that defers
// (see below) it only notes that the exit is due.
void ReportExitOnError();

// Held while one line is composed and emitted; recursive, since composing a message
// may log.
std::recursive_mutex& ReportMutex();

// A batch on several workers keeps the exit of a worker's error back until that image's
// turn in input order, so that the files written before the exit are those of a serial
// run. The switch and the note are the calling thread's own.
void ReportDeferExitOnError(bool defer);
// True when this thread has noted an exit since the last call of ReportTakeExitDue.
bool ReportExitDue();
bool ReportTakeExitDue();
// Runs before exit(42) on a thread that does not defer: lets a batch stop its workers
// before the process ends under them. Null for none.
void ReportSetBeforeExit(void (*hook)());

} // namespace Tavlin

#define TLOG_AT(category, priority, message)                                   \
    do {                                                                       \
        log4cpp::Category& tlogCat_ = (category);                              \
        if (tlogCat_.isPriorityEnabled(priority)) {                            \
            {                                                                  \
                std::lock_guard<std::recursive_mutex> tlogLock_(               \
                    ::Tavlin::ReportMutex());                                  \
                tlogCat_.getStream(priority) << message;                       \
            }                                                                  \
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
