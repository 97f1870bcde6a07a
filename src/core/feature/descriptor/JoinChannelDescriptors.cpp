#include "core/feature/descriptor/JoinChannelDescriptors.h"

#include "core/matrix/MatConcatenateHorizontal.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

void JoinChannelDescriptors(PointDescriptorTable* table, std::vector<Array::Array2dReal64*>& parts)
{
    if (parts.size() == 1)
    {
        table->SetStorage(parts[0]);
        parts.clear();
        return;
    }
    Array::Array2dReal64* joined = Matrix::MatConcatenateHorizontal(parts);
    for (Array::Array2dReal64* part : parts)
        delete part;
    parts.clear();
    if (!joined)
        joined = new Array::Array2dReal64(0, table->Size(), 0, 0);
    table->SetStorage(joined);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
