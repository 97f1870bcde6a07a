// Collects feature vectors into one FeatureTable per pyramid subdivision: table 0 carries
// the plain feature name, table i the name with "_sub_i" added.
#ifndef TAVLIN_CORE_FEATURE_FEATURETABLERESULT_H
#define TAVLIN_CORE_FEATURE_FEATURETABLERESULT_H

#include <string>
#include <vector>

#include "core/feature/FeatureDefinition.h"
#include "core/vector/VectorTem.h"
#include "util/Quid.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class FeatureTable;

class FeatureTableResult
{
public:
    FeatureTableResult(FeatureDefinition def, std::string info)
        : mFeatureDefinition(std::move(def)), mInfo(std::move(info))
    {
    }
    ~FeatureTableResult();
    FeatureTableResult(const FeatureTableResult&) = delete;
    FeatureTableResult& operator=(const FeatureTableResult&) = delete;

    // Appends a deep copy of `vector` to table `index`, creating that table on first use.
    void AddVector(Quid quid, int index, Vector::VectorTem<double>& vector);

    // Null for a subdivision that has received nothing.
    FeatureTable* GetTable(int index) const;
    int GetTableCount() const { return static_cast<int>(mTables.size()); }

private:
    std::vector<FeatureTable*> mTables;
    FeatureDefinition mFeatureDefinition;
    std::string mInfo;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
