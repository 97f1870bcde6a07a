// The common base of all tables: the number of rows in use. The columns, and with them
// the capacity, live in TableTem.
#ifndef TAVLIN_CORE_TABLE_TABLE_H
#define TAVLIN_CORE_TABLE_TABLE_H

#include <cstdint>

namespace Tavlin
{
namespace Core
{
namespace Table
{

class Table
{
public:
    Table() : mSize(0) {}
    virtual ~Table() {}

    // Writes rows from..to-1 to the standard output; to -1 means all rows in use.
    virtual void Dump(int from, int to) const = 0;

    int Size() const { return mSize; }
    void SetSize(int size) { mSize = size; }

    int32_t mSize;
};

} // namespace Table
} // namespace Core
} // namespace Tavlin

#endif
