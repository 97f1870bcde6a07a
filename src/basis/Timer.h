// Stopwatch on the wall clock or on processor time, and the h/m/s text form of a
// duration that every timing line of the tool uses.
#ifndef TAVLIN_BASIS_TIMER_H
#define TAVLIN_BASIS_TIMER_H

#include <sys/time.h>
#include <sys/times.h>

#include <string>

namespace Tavlin
{

class Timer
{
public:
    // realTime 1: wall clock; 0: user plus system time of the process.
    explicit Timer(int realTime = 1);

    void Start();
    double SplitTime();
    std::string SplitTimeStr(double divisor = 1.0);

    // "%dh%dm%.2fs": 3725.5 gives 1h2m5.50s.
    static std::string Format(double seconds);

private:
    int mRealTime;
    struct tms mTms;
    clock_t mStartUser = 0;
    clock_t mStartSystem = 0;
    struct timeval mStart;
};

} // namespace Tavlin

#endif
