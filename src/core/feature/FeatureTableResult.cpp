#include "core/feature/FeatureTableResult.h"

#include "core/feature/FeatureTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

FeatureTableResult::~FeatureTableResult()
{
    for (FeatureTable* table : mTables)
        delete table;
}

void FeatureTableResult::AddVector(Quid quid, int index, Vector::VectorTem<double>& vector)
{
    if (index < 0)
        return;
    if (index >= static_cast<int>(mTables.size()))
        mTables.resize(index + 1, nullptr);
    if (!mTables[index])
    {
        FeatureDefinition definition(mFeatureDefinition.AsString());
        if (index != 0)
            definition.AddParameter<std::string>("sub", std::to_string(index));
        auto* table = new FeatureTable(FeatureDefinition(definition.AsString()), 500, vector.Size());
        table->mInfo = mInfo;
        mTables[index] = table;
    }
    mTables[index]->Add(quid, Vector::VectorTem<double>(vector.Size(), vector.Data(), true));
}

FeatureTable* FeatureTableResult::GetTable(int index) const
{
    return index >= 0 && index < static_cast<int>(mTables.size()) ? mTables[index] : nullptr;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
