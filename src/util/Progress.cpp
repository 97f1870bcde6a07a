#include "util/Progress.h"

#include <cstdio>

namespace Tavlin
{
namespace Util
{

namespace
{
// A terminal line is not redrawn more often than this: drawing costs more than a tiny
// image.
const double sTerminalInterval = 0.2;
} // namespace

Progress::Progress(std::ostream& out, int64_t total, bool terminal, double interval)
    : mOut(out), mTotal(total), mTerminal(terminal), mInterval(terminal ? sTerminalInterval : interval)
{
    mTimer.Start();
}

Progress::~Progress()
{
    Finish();
}

std::string Progress::Line(int64_t done, int64_t total, double seconds)
{
    const double rate = seconds > 0.0 ? done / seconds : 0.0;
    char text[128];
    std::snprintf(text, sizeof(text), "%.1f", rate);
    const std::string left = rate > 0.0 ? Timer::Format((total - done) / rate) : std::string("unknown");
    return "Progress: " + std::to_string(done) + "/" + std::to_string(total) + " images, " + text + " images/s, " +
           left + " left";
}

void Progress::Update(int64_t done, double seconds)
{
    if (mFinished)
        return;
    mDone = done;
    if (seconds < 0.0)
        seconds = mTimer.SplitTime();
    if (seconds - mShownAt >= mInterval)
        Show(seconds, false);
}

void Progress::Finish(double seconds)
{
    if (mFinished)
        return;
    Show(seconds < 0.0 ? mTimer.SplitTime() : seconds, true);
    mFinished = true;
}

void Progress::Show(double seconds, bool last)
{
    mShownAt = seconds;
    const std::string line = Line(mDone, mTotal, seconds);
    if (!mTerminal)
        mOut << line << "\n";
    else
        // Back to the start of the line, and clear what a longer line left behind.
        mOut << "\r" << line << "\033[K" << (last ? "\n" : "");
    mOut.flush();
}

} // namespace Util
} // namespace Tavlin
