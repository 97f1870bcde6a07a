#include "util/MemoryInfo.h"

#include <unistd.h>

#include <cstdio>

#include "basis/Report.h"

namespace Tavlin
{
namespace Process
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Process.MemoryInfo");
}

std::string MemoryInfo::Bytes2String(int64_t bytes)
{
    static const char* const sUnits[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
    std::string sign;
    uint64_t rest = static_cast<uint64_t>(bytes);
    if (bytes < 0)
    {
        sign = "-";
        rest = 0 - rest;
    }
    int digits[8] = {0};
    int count = 0;
    do
    {
        if (count == 7)
            return "Out of range";
        digits[count++] = static_cast<int>(rest % 1024);
        rest /= 1024;
    } while (rest != 0);
    int top = count - 1;
    std::string result = sign + std::to_string(digits[top]);
    if (top > 0)
        result += "." + std::to_string(digits[top - 1]);
    return result + sUnits[top];
}

int64_t MemoryInfo::ProgramSize()
{
    long pageSize = sysconf(_SC_PAGESIZE);
    char name[64];
    std::snprintf(name, sizeof(name), "/proc/%u/statm", static_cast<unsigned>(getpid()));
    FILE* statm = std::fopen(name, "r");
    if (!statm)
        return 0;
    long long pages = 0;
    if (std::fscanf(statm, "%lld", &pages) != 1)
        pages = 0;
    std::fclose(statm);
    return static_cast<int64_t>(pages) * pageSize;
}

void MemoryInfo::PrintUsage(const std::string& caller)
{
    TLOG_DEBUG(sLog, "print usage");
    int64_t bytes = ProgramSize();
    if (bytes > 0)
        TLOG_INFO(sLog, caller << ", usage = " << bytes << " = " << Bytes2String(bytes));
    else
        TLOG_INFO(sLog, "Could not establish memory usage");
}

} // namespace Process
} // namespace Tavlin
