#include "util/TimeStats.h"

#include "basis/Report.h"

namespace Tavlin
{
namespace Util
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.TimeStats");
}

void TimeStats::AddGroup(const std::string& name)
{
    auto group = std::make_unique<Group>();
    group->mName = name;
    mGroups.push_back(std::move(group));
}

void TimeStats::Close()
{
    if (!mMeasuring)
        return;
    double elapsed = mTimer.SplitTime();
    if (mCurrent >= 0 && mCurrent < static_cast<int>(mGroups.size()))
    {
        mGroups[mCurrent]->mSamples.push_back(elapsed);
        mGroups[mCurrent]->mSum += elapsed;
    }
}

void TimeStats::SelectGroup(int index)
{
    Close();
    mMeasuring = false;
    if (index < 0 || index >= static_cast<int>(mGroups.size()))
        TLOG_ERROR(sLog, "[SelectGroup] no group " << index);
    else
        mCurrent = index;
    mMeasuring = true;
    mTimer.Start();
}

void TimeStats::MeasureFirst()
{
    SelectGroup(0);
}

void TimeStats::MeasureNext()
{
    SelectGroup(mCurrent + 1);
}

void TimeStats::StopTime()
{
    Close();
    mMeasuring = false;
}

void TimeStats::MeasureLast()
{
    StopTime();
    if (mCurrent != static_cast<int>(mGroups.size()) - 1)
        TLOG_ERROR(sLog, "[MeasureLast] Not at last group");
}

void TimeStats::Print(std::ostream& out)
{
    if (mMeasuring)
    {
        Close();
        mTimer.Start();
    }
    mTotal = 0.0;
    if (mFirstGroupIsTotal && !mGroups.empty())
        mTotal = mGroups[0]->mSum;
    else
        for (const auto& group : mGroups)
            mTotal += group->mSum;
    for (auto& group : mGroups)
        group->mPercent = 100.0 * group->mSum / mTotal;

    out << "timestats: total = " << mTotal << " (" << Timer::Format(mTotal) << ") - " << mGroups.size()
        << " groups\n";
    for (const auto& group : mGroups)
    {
        double average = group->mSamples.empty() ? 0.0 : group->mSum / group->mSamples.size();
        out << "  " << group->mName << ": " << group->mPercent << " % = " << group->mSum << " ("
            << Timer::Format(group->mSum) << ") (avg of " << group->mSamples.size() << " is " << average
            << ")\n";
    }
}

std::ostream& operator<<(std::ostream& out, TimeStats& stats)
{
    stats.Print(out);
    return out;
}

} // namespace Util
} // namespace Tavlin
