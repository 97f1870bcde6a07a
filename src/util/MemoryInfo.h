// The process's memory figure from /proc and the human-readable form of byte counts.
#ifndef TAVLIN_UTIL_MEMORYINFO_H
#define TAVLIN_UTIL_MEMORYINFO_H

#include <cstdint>
#include <string>

namespace Tavlin
{
namespace Process
{

class MemoryInfo
{
public:
    // Logs the program size of this process at INFO.
    static void PrintUsage(const std::string& caller);
    // Highest base-1024 digit with its unit and the next digit: 1536 gives 1.512KB.
    static std::string Bytes2String(int64_t bytes);
    // Program size in bytes from /proc/<pid>/statm, 0 when unknown.
    static int64_t ProgramSize();
};

} // namespace Process
} // namespace Tavlin

#endif
