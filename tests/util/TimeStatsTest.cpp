#include "util/TimeStats.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/LogCapture.h"
#include "util/Quid.h"

using Tavlin::Util::TimeStats;

TEST(TimeStatsGroups, SamplesGoToTheGroupBeingMeasured)
{
    TimeStats stats(1);
    stats.AddGroup("detector");
    stats.AddGroup("descriptor");
    stats.MeasureFirst();
    stats.MeasureNext();
    stats.MeasureFirst(); // closes "descriptor", starts "detector" again
    stats.StopTime();
    EXPECT_EQ(stats.GetGroup(0).mSamples.size(), 2u);
    EXPECT_EQ(stats.GetGroup(1).mSamples.size(), 1u);
    EXPECT_FALSE(stats.IsMeasuring());

    // Past the last group the measurement goes on in the old one.
    {
        TestSupport::LogCapture log("Tavlin.Util.TimeStats");
        stats.MeasureFirst();
        stats.MeasureNext();
        stats.MeasureNext();
        EXPECT_EQ(stats.GetCurrent(), 1);
        stats.MeasureLast();
        EXPECT_EQ(log.Text(), "[SelectGroup] no group 2\n");
    }
    EXPECT_EQ(stats.GetGroup(1).mSamples.size(), 3u);

    std::ostringstream out, none;
    out << stats;
    EXPECT_EQ(out.str().rfind("timestats: total = ", 0), 0u) << out.str();
    EXPECT_NE(out.str().find(" - 2 groups\n  detector: "), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("(avg of 3 is "), std::string::npos) << out.str();
    TimeStats(1).Print(none);
    EXPECT_EQ(none.str(), "timestats: total = 0 (0h0m0.00s) - 0 groups\n");
}

TEST(QuidParts, FieldsLiveInTheirBits)
{
    Tavlin::Quid quid = Tavlin::Quid::FromParts(0x12, 0xabcdef, 0x123456789aULL, 0xfedcba9876ULL);
    EXPECT_EQ(quid.GetFirst(), 0xabcdef123456789aULL);
    EXPECT_EQ(quid.GetSecond(), 0x120000fedcba9876ULL);
    EXPECT_EQ(quid.GetClass(), 0x12);
    EXPECT_EQ(quid.GetSet(), 0xabcdefULL);
    EXPECT_EQ(quid.GetObject(), 0x123456789aULL);
    EXPECT_EQ(quid.GetId(), 0xfedcba9876ULL);
    EXPECT_EQ(Tavlin::Quid(0), Tavlin::Quid());
}
