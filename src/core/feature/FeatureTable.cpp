#include "core/feature/FeatureTable.h"

#include <iostream>


namespace Tavlin
{
namespace Core
{
namespace Feature
{

FeatureTable::FeatureTable(FeatureDefinition def, int tableSize, int vectorLength)
    : mFeatureDefinition(std::move(def))
{
    mColumn2.SetStorage(Array::ArrayCreate<Array::Array2dReal64>(vectorLength, 0, 0, 0));
    Reserve(tableSize, false);
    mColumnNames = {"object", mFeatureDefinition.name};
}

void FeatureTable::Dump(int start, int end, int elemsShown) const
{
    std::ostream& out = std::cout;
    if (end == -1 || end > mSize)
        end = mSize;
    if (end < start)
        end = start;
    const int length = GetVectorLength();
    out << "Dumping table from " << start << " to " << end << " (table size=" << mSize
        << ", capacity=" << Capacity() << ", featureLen=" << length << ")" << std::endl;
    out << "1=" << mColumnNames[0] << ", 2=" << mColumnNames[1] << ", " << std::endl;
    for (int row = start < 0 ? 0 : start; row < end; ++row)
    {
        out << GetQuid(row) << ", (";
        const double* v = GetVector(row);
        for (int k = 0; k < length; ++k)
        {
            if (elemsShown != -1 && k >= elemsShown && k < length - elemsShown)
            {
                if (k == elemsShown)
                    out << "..., ";
                continue;
            }
            out << v[k];
            if (k + 1 < length)
                out << ",";
        }
        out << ")" << std::endl;
    }
    out << std::endl;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
