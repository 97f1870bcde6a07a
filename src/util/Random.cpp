#include "util/Random.h"

#include "basis/Report.h"

namespace Tavlin
{
namespace Util
{

int Random::operator()(int upperBound)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.Random");
    if (upperBound < 0)
    {
        TLOG_ERROR(sLog, "upperbound must be positive");
        return 0;
    }
    if ((upperBound & (upperBound - 1)) == 0)
        return static_cast<int>((static_cast<int64_t>(upperBound) * Next()) >> 31);
    int32_t draw;
    int32_t value;
    do
    {
        draw = Next();
        value = draw % upperBound;
        // Rejects the incomplete last block of the range so the result stays uniform.
    } while (static_cast<int32_t>(static_cast<uint32_t>(draw) - static_cast<uint32_t>(value) +
                                  static_cast<uint32_t>(upperBound - 1)) < 0);
    return value;
}

} // namespace Util
} // namespace Tavlin
