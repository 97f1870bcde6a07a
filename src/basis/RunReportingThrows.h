// The outermost frame of a program: deep code signals a few impossible configurations by
// throwing, and a run must still end with a message and a status, never with an abort.
#ifndef TAVLIN_BASIS_RUNREPORTINGTHROWS_H
#define TAVLIN_BASIS_RUNREPORTINGTHROWS_H

#include <exception>

#include "basis/Report.h"

namespace Tavlin
{

// Returns body(); a thrown text or exception is logged as "[ERROR] " + text on `log`
// and gives status 1.
template <class Body>
int RunReportingThrows(log4cpp::Category& log, Body body)
{
    try
    {
        return body();
    }
    catch (const char* text)
    {
        TLOG_ERROR(log, "[ERROR] " << text);
    }
    catch (const std::exception& error)
    {
        TLOG_ERROR(log, "[ERROR] " << error.what());
    }
    return 1;
}

} // namespace Tavlin

#endif
