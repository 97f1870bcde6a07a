// The progress of a batch on standard error: images done of the total, images per
// second and the time left. On a terminal one line redrawn in place; elsewhere (a log
// file, a pipe) a plain line at most every interval seconds and one at the end. It
// writes to no log and never to standard output.
#ifndef TAVLIN_UTIL_PROGRESS_H
#define TAVLIN_UTIL_PROGRESS_H

#include <cstdint>
#include <ostream>
#include <string>

#include "basis/Timer.h"

namespace Tavlin
{
namespace Util
{

class Progress
{
public:
    Progress(std::ostream& out, int64_t total, bool terminal, double interval = 10.0);
    // The final line, when Finish has not been called.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // done images after seconds (the time since the start when negative).
    void Update(int64_t done, double seconds = -1.0);
    // The last line, once; Update does nothing afterwards.
    void Finish(double seconds = -1.0);

    // "Progress: <done>/<total> images, <rate> images/s, <time> left"; the rate has
    // one decimal, the time is in the form of Timer::Format, "unknown" before the
    // first image.
    static std::string Line(int64_t done, int64_t total, double seconds);

private:
    void Show(double seconds, bool last);

    std::ostream& mOut;
    int64_t mTotal;
    int64_t mDone = 0;
    bool mTerminal;
    double mInterval;
    double mShownAt = 0.0;
    bool mFinished = false;
    Timer mTimer{1};
};

} // namespace Util
} // namespace Tavlin

#endif
