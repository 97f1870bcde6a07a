#include "core/feature/codebook/GetCodebookLength.h"

#include <cstdint>

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
    const int32_t last = static_cast<int32_t>(table->GetQuid(table->Size() - 1).GetSecond());
    // The largest number has no successor in an int: no forest has that many words.
    if (last == INT32_MAX)
    {
        TLOG_ERROR(sLog, "[GetCodebookLength] last code word " << last << " leaves no room for a count");
        return 0;
    }
    return last + 1;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
