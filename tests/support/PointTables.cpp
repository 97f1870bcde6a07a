#include "support/PointTables.h"

#include <algorithm>

#include "support/Matrices.h"

namespace TestSupport
{

std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable> MakePointTable(
    const std::vector<std::pair<double, double>>& positions, int length, const std::vector<double>& descriptors)
{
    using Tavlin::Core::Feature::FeatureDefinition;
    auto table = std::make_unique<Tavlin::Core::Feature::PointDescriptorTable>(FeatureDefinition("test"));
    table->Reserve(static_cast<int>(positions.size()), false);
    table->SetDescriptorLength(length);
    for (size_t i = 0; i < positions.size(); ++i)
    {
        table->AddPoint(positions[i].first, positions[i].second, 0.0, 0.0, 0.0);
        std::copy_n(descriptors.begin() + i * length, length, table->GetDescriptor(static_cast<int>(i)));
    }
    return table;
}

std::vector<double> Row(const std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable>& table, int r)
{
    const double* v = table->GetDescriptor(r);
    return std::vector<double>(v, v + table->GetDescriptorLength());
}

PointSet RandomPoints(int count, int length, int width, int height, unsigned seed)
{
    PointSet set;
    set.length = length;
    MatrixPtr values = RandomMatrix(count, length, seed);
    set.descriptors.assign(values->mData, values->mData + static_cast<long long>(count) * length);
    for (int i = 0; i < count; ++i)
        set.positions.emplace_back((i * 37) % width + (i % 3) * 0.25, (i * 11) % height);
    return set;
}

} // namespace TestSupport
