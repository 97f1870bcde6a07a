#include "core/matrix/MatList.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

log4cpp::Category& MatList::sLog = log4cpp::Category::getInstance("Tavlin.Core.Matrix.MatList");

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
