// Per-stage timing of a repeated job: named groups, each collecting one sample per
// closed measurement, and a percentage report.
#ifndef TAVLIN_UTIL_TIMESTATS_H
#define TAVLIN_UTIL_TIMESTATS_H

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "basis/Timer.h"

namespace Tavlin
{
namespace Util
{

class TimeStats
{
public:
    struct Group
    {
        std::string mName;
        std::vector<double> mSamples;
        double mSum = 0.0;
        double mPercent = 0.0;
    };

    explicit TimeStats(int realTime = 1) : mTimer(realTime) {}

    void AddGroup(const std::string& name);
    void MeasureFirst();
    void MeasureNext();
    void MeasureLast();
    void StopTime();
    void Print(std::ostream& out);

    size_t GroupCount() const { return mGroups.size(); }
    const Group& GetGroup(size_t i) const { return *mGroups[i]; }
    int GetCurrent() const { return mCurrent; }
    bool IsMeasuring() const { return mMeasuring; }

private:
    void Close();
    void SelectGroup(int index);

    Timer mTimer;
    std::vector<std::unique_ptr<Group>> mGroups;
    int mCurrent = 0;
    bool mMeasuring = false;
    bool mFirstGroupIsTotal = false;
    double mTotal = 0.0;
};

std::ostream& operator<<(std::ostream& out, TimeStats& stats);

} // namespace Util
} // namespace Tavlin

#endif
