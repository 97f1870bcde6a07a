#include "util/Progress.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/TestSupport.h"

using Tavlin::Util::Progress;
using TestSupport::CountOf;

TEST(ProgressLine, DoneOfTotalRateAndTimeLeft)
{
    // 30 images in 12 s: 2.5 a second, 170 left take 68 s.
    EXPECT_EQ(Progress::Line(30, 200, 12.0), "Progress: 30/200 images, 2.5 images/s, 0h1m8.00s left");
    EXPECT_EQ(Progress::Line(200, 200, 4000.0), "Progress: 200/200 images, 0.1 images/s, 0h0m0.00s left");
    EXPECT_EQ(Progress::Line(0, 7, 3.0), "Progress: 0/7 images, 0.0 images/s, unknown left");
}

TEST(ProgressPlain, AtMostEveryIntervalAndOnceAtTheEnd)
{
    std::ostringstream out;
    {
        Progress progress(out, 100, false, 10.0);
        progress.Update(1, 1.0);
        progress.Update(5, 9.9);
        EXPECT_EQ(out.str(), "");
        progress.Update(10, 10.0);
        progress.Update(11, 15.0);
        progress.Update(25, 20.5);
        EXPECT_EQ(out.str(), "Progress: 10/100 images, 1.0 images/s, 0h1m30.00s left\n"
                             "Progress: 25/100 images, 1.2 images/s, 0h1m1.50s left\n");
        progress.Update(100, 21.0);
        progress.Finish(25.0);
        progress.Update(100, 40.0);
        progress.Finish(40.0);
    }
    EXPECT_EQ(CountOf(out.str(), "\n"), 3);
    EXPECT_EQ(CountOf(out.str(), "Progress: 100/100 images, 4.0 images/s, 0h0m0.00s left\n"), 1);
}

TEST(ProgressTerminal, RedrawsOneLineInPlace)
{
    std::ostringstream out;
    Progress progress(out, 4, true);
    progress.Update(1, 1.0);
    progress.Update(2, 1.1);
    progress.Update(3, 2.0);
    progress.Finish(4.0);
    // The update 0.1 s after the last drawing is left out; the end draws once more and
    // ends the line.
    EXPECT_EQ(out.str(), "\rProgress: 1/4 images, 1.0 images/s, 0h0m3.00s left\033[K"
                         "\rProgress: 3/4 images, 1.5 images/s, 0h0m0.67s left\033[K"
                         "\rProgress: 3/4 images, 0.8 images/s, 0h0m1.33s left\033[K\n");
}
