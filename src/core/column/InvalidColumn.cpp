#include "core/column/InvalidColumn.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

log4cpp::Category& InvalidColumn::sLog = log4cpp::Category::getInstance("Tavlin.Core.Column.InvalidColumn");

bool InvalidColumn::Reserve(int, bool)
{
    TLOG_ERROR(sLog, "[Reserve] Invalid call");
    return false;
}

} // namespace Column
} // namespace Core
} // namespace Tavlin
