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
                                       const FeatureDefinition& definition)
{
    auto* table = new PointDescriptorTable(definition);
    const int count = rows.Size();
    const int length = rows.GetVectorLength();
    table->SetStorage(Matrix::MatCreate<Array::Array2dReal64>(count, length));
    table->Reserve(count, false);
    for (int r = 0; r < count; ++r)
    {
        table->AddPoint(0.0, 0.0, 0.0, 0.0, 0.0);
        const double* row = rows.GetVectorData(r);
        std::copy(row, row + length, table->GetDescriptor(r));
    }
    return table;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
