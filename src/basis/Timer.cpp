#include "basis/Timer.h"

#include <cstdio>

namespace Tavlin
{

Timer::Timer(int realTime) : mRealTime(realTime), mTms(), mStart()
{
    Start();
}

void Timer::Start()
{
    if (mRealTime)
    {
        gettimeofday(&mStart, nullptr);
    }
    else
    {
        times(&mTms);
        mStartUser = mTms.tms_utime;
        mStartSystem = mTms.tms_stime;
    }
}

double Timer::SplitTime()
{
    if (mRealTime)
    {
        struct timeval now;
        gettimeofday(&now, nullptr);
        return static_cast<double>(now.tv_sec - mStart.tv_sec) +
               static_cast<double>(now.tv_usec - mStart.tv_usec) / 1e6;
    }
    times(&mTms);
    // The divisor is fixed whatever the clock tick of the system.
    return static_cast<double>((mTms.tms_utime + mTms.tms_stime) - (mStartUser + mStartSystem)) / 1000.0;
}

std::string Timer::SplitTimeStr(double divisor)
{
    return Format(SplitTime() / divisor);
}

std::string Timer::Format(double seconds)
{
    int hours = static_cast<int>(seconds / 3600);
    double rest = seconds - hours * 3600.0;
    int minutes = static_cast<int>(rest / 60);
    char buffer[2048];
    std::snprintf(buffer, sizeof(buffer), "%dh%dm%.2fs", hours, minutes, rest - minutes * 60.0);
    return buffer;
}

} // namespace Tavlin
