// The placeholder for the unused column slots of a table. It holds nothing; growing it
// is a coding error, reordering it does nothing.
#ifndef TAVLIN_CORE_COLUMN_INVALIDCOLUMN_H
#define TAVLIN_CORE_COLUMN_INVALIDCOLUMN_H

#include "basis/Report.h"

namespace Tavlin
{
namespace Core
{
namespace Column
{

class InvalidColumn
{
public:
    // Logs "[Reserve] Invalid call" and returns false.
    bool Reserve(int newCapacity, bool keepData);
    int Capacity() const { return 0; }

    static log4cpp::Category& sLog;
};

} // namespace Column
} // namespace Core
} // namespace Tavlin

#endif
