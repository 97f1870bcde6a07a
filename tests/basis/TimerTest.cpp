#include "basis/Timer.h"

#include <gtest/gtest.h>

#include <unistd.h>

using Tavlin::Timer;

TEST(TimerFormat, HoursMinutesAndRoundedSeconds)
{
    EXPECT_EQ(Timer::Format(3725.5), "1h2m5.50s");
    EXPECT_EQ(Timer::Format(59.999), "0h0m60.00s");
    EXPECT_EQ(Timer::Format(0.0), "0h0m0.00s");
    EXPECT_EQ(Timer::Format(7200.0), "2h0m0.00s");
    EXPECT_EQ(Timer::Format(61.004), "0h1m1.00s");
}

TEST(TimerClock, WallClockMeasuresSleepAndRestarts)
{
    Timer wall(1);
    usleep(20000);
    double first = wall.SplitTime();
    EXPECT_GE(first, 0.019);
    EXPECT_LT(first, 2.0);
    wall.Start();
    EXPECT_LT(wall.SplitTime(), first);

    // Processor time barely moves while the process sleeps.
    Timer cpu(0);
    usleep(50000);
    EXPECT_LT(cpu.SplitTime(), 0.04);
    EXPECT_GE(cpu.SplitTime(), 0.0);
}
