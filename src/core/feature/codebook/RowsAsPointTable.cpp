#include "core/feature/codebook/RowsAsPointTable.h"

#include <algorithm>

#include "core/feature/PointDescriptorTable.h"
#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

PointDescriptorTable* RowsAsPointTable(const Vector::VectorSet<Array::Array2dReal64>& rows,
                                       const FeatureDefinition& definition, bool withPositions)
{
    auto* table = new PointDescriptorTable(definition);
    const int count = rows.Size();
    const int skip = withPositions ? 2 : 0;
    const int length = std::max(0, rows.GetVectorLength() - skip);
    table->SetStorage(Matrix::MatCreate<Array::Array2dReal64>(count, length));
    table->Reserve(count, false);
    for (int r = 0; r < count; ++r)
    {
        const double* row = rows.GetVectorData(r);
        if (withPositions)
            table->AddPoint(row[0], row[1], 0.0, 0.0, 0.0);
        else
            table->AddPoint(0.0, 0.0, 0.0, 0.0, 0.0);
        std::copy(row + skip, row + skip + length, table->GetDescriptor(r));
    }
    return table;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
