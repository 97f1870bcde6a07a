#include "core/feature/descriptor/StringIsFullyNumeric.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

bool StringIsFullyNumeric(const std::string& text)
{
    for (char c : text)
        if (c < '0' || c > '9')
            return false;
    return true;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
