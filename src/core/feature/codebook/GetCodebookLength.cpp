#include "core/feature/codebook/GetCodebookLength.h"

#include "basis/Report.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

int GetCodebookLength(FeatureTable* table)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.GetCodebookLength");
    if (!table || table->Size() < 1)
    {
        TLOG_ERROR(sLog, "[GetCodebookLength] empty codebook table");
        return 0;
    }
    return static_cast<int32_t>(table->GetQuid(table->Size() - 1).GetSecond()) + 1;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
