// One row per object or visual word: a Quid and a fixed-length feature vector. The
// in-memory form of codebooks, of quantizer results and of collected cluster input.
#ifndef TAVLIN_CORE_FEATURE_FEATURETABLE_H
#define TAVLIN_CORE_FEATURE_FEATURETABLE_H

#include "core/feature/FeatureDefinition.h"
#include "core/table/TableTem.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class FeatureTable : public Table::FeatureTableTem
{
public:
    FeatureTable(FeatureDefinition def, int tableSize, int vectorLength);

    using Core::Table::FeatureTableTem::Dump;

    const FeatureDefinition& GetFeatureDefinition() const { return mFeatureDefinition; }
    int GetVectorLength() const { return mColumn2.GetVectorLength(); }
    double* GetVector(int i) const { return mColumn2.GetVectorData(i); }
    const Quid& GetQuid(int i) const { return mColumn1.mData[i]; }

    // Rows start..end-1 to standard output; with elemsShown not -1 only the first and
    // last elemsShown values of each vector.
    void Dump(int start, int end, int elemsShown) const;

private:
    FeatureDefinition mFeatureDefinition;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
